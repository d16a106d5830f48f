// Compares the image engine with other PNG encoders on the same pictures in one run, as ratios to libpng's
// defaults.

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <string>
#include <sys/wait.h>
#include <vector>

#include <libdeflate.h>

#include "bench/png/FileSink.h"
#include "bench/png/Peers.h"
#include "bench/png/Samples.h"
#include "bench/png/Scenes.h"
#include "picture/PhotoRows.h"
#include "picture/png/PngFilter.h"
#include "picture/png/PngWriter.h"

namespace camera_shot_bench {
namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

/// A picture in memory as a source.
class PictureSource final : public picture::RowSource {
 public:
  explicit PictureSource(const Picture& picture) : picture_(picture) {}
  std::uint32_t width() const noexcept override { return picture_.width; }
  std::uint32_t height() const noexcept override { return picture_.height; }
  bool readRows(std::span<std::uint8_t> rows) noexcept override {
    std::memcpy(rows.data(), picture_.pixels.data() + at_, rows.size());
    at_ += rows.size();
    return true;
  }
  std::string failure() const override { return {}; }

 private:
  const Picture& picture_;
  std::size_t at_ = 0;
};

class MemorySink final : public picture::ByteSink {
 public:
  explicit MemorySink(std::size_t expected) { bytes_.reserve(expected); }
  bool write(std::span<const std::uint8_t> bytes) noexcept override {
    bytes_.insert(bytes_.end(), bytes.begin(), bytes.end());
    return true;
  }
  [[nodiscard]] std::size_t size() const { return bytes_.size(); }

 private:
  Bytes bytes_;
};

// Whether processor time of all threads is taken rather than elapsed time: it says nothing of working side by
// side, but holds on a machine that is busy with other things.
bool takesProcessorTime = false;

double now() {
  if (!takesProcessorTime) return std::chrono::duration<double>(Clock::now().time_since_epoch()).count();
  timespec time{};
  ::clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
}

/// The shortest of some runs, which other work on the machine disturbs least, in seconds.
double shortestTime(int runs, const std::function<void()>& work) {
  double shortest = 1e9;
  for (int i = 0; i < runs; ++i) {
    const double begin = now();
    work();
    shortest = std::min(shortest, now() - begin);
  }
  return shortest;
}

std::size_t encodeByOurs(const Picture& picture, unsigned threads) {
  PictureSource source(picture);
  MemorySink sink(picture.pixels.size());
  const auto result = picture::writePng(source, {}, sink, {.threads = threads});
  return result == picture::PngResult::Written ? sink.size() : 0;
}

/// One contender's figures over some pictures, as ratios to the reference on the same picture.
struct Column {
  double logTime = 0;
  double logSize = 0;
  double worstTime = 0;
  double worstSize = 0;
  std::string worstSizeName;
  int timed = 0;
  int sized = 0;

  void addTime(double ratio) {
    logTime += std::log(ratio);
    worstTime = std::max(worstTime, ratio);
    ++timed;
  }
  void addSize(double ratio, const std::string& name) {
    logSize += std::log(ratio);
    if (ratio > worstSize) worstSizeName = name;
    worstSize = std::max(worstSize, ratio);
    ++sized;
  }
};

/// All columns of one group of pictures, in the order of their first appearance.
class Table {
 public:
  explicit Table(std::string title) : title_(std::move(title)) {}

  Column& column(const std::string& name) {
    if (columns_.find(name) == columns_.end()) order_.push_back(name);
    return columns_[name];
  }

  void print() const {
    std::printf("\n%s\n%-34s %10s %10s %9s %8s %8s  %s\n", title_.c_str(), "", "time", "faster by",
                "worst t.", "size", "worst", "on");
    for (const std::string& name : order_) {
      const Column& column = columns_.at(name);
      const double time = std::exp(column.logTime / std::max(1, column.timed));
      std::printf("%-34s %10.5f %9.1fx %9.5f", name.c_str(), time, 1 / time, column.worstTime);
      if (column.sized > 0) {
        std::printf(" %8.4f %8.4f  %s", std::exp(column.logSize / column.sized), column.worstSize,
                    column.worstSizeName.c_str());
      }
      std::printf("\n");
    }
  }

 private:
  std::string title_;
  std::map<std::string, Column> columns_;
  std::vector<std::string> order_;
};

struct Options {
  bool quick = false;
  bool ours = false;  // no peers but the reference
  bool verbose = false;
  bool small = true;
  bool large = true;
  bool installed = true;
  // Where Debian's lomiri-wallpapers-16.04, lomiri-wallpapers-20.04, mate-backgrounds and
  // plasma-workspace-wallpapers put their photographs.
  std::vector<std::string> folders = {"/usr/share/backgrounds", "/usr/share/wallpapers"};
};

class Benchmark {
 public:
  explicit Benchmark(const Options& options) : options_(options), runs_(options.quick ? 5 : 15) {}

  void measure(const Sample& sample, Table& table) {
    const Picture& picture = sample.picture;
    std::size_t referenceSize = 0;
    const double reference =
        shortestTime(options_.quick ? 1 : 2, [&] { referenceSize = encodeByLibpng(picture); });
    const Measured measured{sample, table, reference, referenceSize};
    measureOurs(measured);
    if (!options_.ours) measurePeers(measured);
    measureBounds(measured);
    if (!sample.jpeg.empty()) measureFiles(measured);
    if (!sample.jpeg.empty() && sample.kind != "grey")
      measureFile(encodeCameraJpeg(picture, 92, 1), sample.kind + ", restart markers");
    std::fflush(stdout);
  }

  void printFiles() const {
    for (const auto& [kind, ratios] : files_) {
      const auto& [overlapped, waited] = ratios;
      std::printf(
          "\nFrom the JPEG (%s) in memory to a written PNG file, two threads, as a multiple of decoding "
          "alone:\n"
          "  geometric mean %.3f, worst %.3f; with the wait for the disk %.3f\n",
          kind.c_str(), mean(overlapped), *std::max_element(overlapped.begin(), overlapped.end()),
          mean(waited));
    }
    if (memory_ > 0)
      std::printf("Largest process that turned a file into a file: %.1f MB resident\n", memory_ / 1e3);
  }

 private:
  struct Measured {
    const Sample& sample;
    Table& table;
    double referenceTime;
    std::size_t referenceSize;
  };

  static double mean(const std::vector<double>& values) {
    double sum = 0;
    for (const double value : values)
      sum += std::log(value);
    return std::exp(sum / static_cast<double>(values.size()));
  }

  void measureOurs(const Measured& measured) {
    for (const unsigned threads : {1U, 2U}) {
      std::size_t size = 0;
      const double time = shortestTime(runs_, [&] { size = encodeByOurs(measured.sample.picture, threads); });
      Column& column =
          measured.table.column("ours, " + std::to_string(threads) + " thread" + (threads > 1 ? "s" : ""));
      const double sizeRatio = static_cast<double>(size) / static_cast<double>(measured.referenceSize);
      column.addTime(time / measured.referenceTime);
      column.addSize(sizeRatio, measured.sample.name);
      if (options_.verbose) {
        std::printf(
            "  %-28s %4.1f MP  libpng %7.1f ms %8.3f bits a byte  %u threads %7.2f ms (1/%.1f)  size %.4f\n",
            measured.sample.name.c_str(), static_cast<double>(measured.sample.picture.pixels.size()) / 3e6,
            1e3 * measured.referenceTime,
            8 * static_cast<double>(measured.referenceSize) /
                static_cast<double>(measured.sample.picture.pixels.size()),
            threads, 1e3 * time, measured.referenceTime / time, sizeRatio);
      }
    }
  }

  void measurePeers(const Measured& measured) {
    std::vector<Peer> peers = libraryPeers();
    for (Peer& peer : programPeers())
      peers.push_back(std::move(peer));
    for (const Peer& peer : peers) {
      if (absent_[peer.name]) continue;
      std::size_t size = 0;
      const double time =
          shortestTime(options_.quick ? 1 : 2, [&] { size = peer.encode(measured.sample.picture); });
      if (size == 0) {
        std::printf("not measured, failed or not installed: %s\n", peer.name.c_str());
        absent_[peer.name] = true;
        continue;
      }
      Column& column = measured.table.column(peer.name);
      column.addTime(time / measured.referenceTime);
      column.addSize(static_cast<double>(size) / static_cast<double>(measured.referenceSize),
                     measured.sample.name);
    }
  }

  void measureBounds(const Measured& measured) {
    const Picture& picture = measured.sample.picture;
    Bytes copy(picture.pixels.size() + picture.height);
    const double copying =
        shortestTime(runs_, [&] { std::memcpy(copy.data(), picture.pixels.data(), picture.pixels.size()); });
    measured.table.column("bound: memcpy").addTime(copying / measured.referenceTime);
    const Bytes zeros(picture.rowBytes());
    const double filtering = shortestTime(runs_, [&] {
      const std::uint8_t* above = zeros.data();
      for (std::uint32_t y = 0; y < picture.height; ++y) {
        const std::uint8_t* row = picture.pixels.data() + y * picture.rowBytes();
        picture::filterRow({row, picture.rowBytes()}, above, copy.data() + y * (picture.rowBytes() + 1));
        above = row;
      }
    });
    measured.table.column("bound: filtering").addTime(filtering / measured.referenceTime);
  }

  void measureFiles(const Measured& measured) {
    const Sample& sample = measured.sample;
    const auto [decoding, written] = measureFile(sample.jpeg, sample.kind);
    measured.table.column("bound: JPEG decoding").addTime(decoding / measured.referenceTime);
    measured.table.column("JPEG to PNG file, 2 threads").addTime(written / measured.referenceTime);
    if (sample.kind == "photo" && sample.picture.pixels.size() > 30'000'000)
      memory_ = std::max(memory_, processMemory(sample.jpeg, outPath()));
    fs::remove(outPath());
  }

  struct FileTimes {
    double decoding;
    double written;
  };

  FileTimes measureFile(const Bytes& jpeg, const std::string& kind) {
    const double decoding = shortestTime(runs_, [&] { decodeStripwise(jpeg); });
    const double written = timeOfFile(runs_, jpeg, outPath(), false);
    if (kind == "grey") return {decoding, written};
    auto& [overlapped, waited] = files_[kind];
    overlapped.push_back(written / decoding);
    waited.push_back(timeOfFile(3, jpeg, outPath(), true) / decoding);
    if (options_.verbose)
      std::printf("  %-28s      from JPEG %7.2f ms, decoding %7.2f ms, %.3f\n", kind.c_str(), 1e3 * written,
                  1e3 * decoding, written / decoding);
    return {decoding, written};
  }

  static std::string outPath() { return (fs::temp_directory_path() / "png-bench-out.png").string(); }

  // Decoding as the converter does it: a few rows at a time into the same memory.
  static void decodeStripwise(const Bytes& jpeg) {
    std::string failure;
    const auto source = picture::openJpegRows(jpeg, failure);
    constexpr std::uint32_t kRows = 16;
    Bytes rows(source->rowBytes() * kRows);
    for (std::uint32_t y = 0; y < source->height(); y += kRows) {
      const std::size_t count = std::min(kRows, source->height() - y);
      if (!source->readRows(std::span(rows).first(count * source->rowBytes()))) std::abort();
    }
  }

  // A new file each time, as a shot makes it: to replace one costs the file system a write of its own.
  static double timeOfFile(int runs, const Bytes& jpeg, const std::string& path, bool sync) {
    double shortest = 1e9;
    for (int i = 0; i < runs; ++i) {
      shortest = std::min(shortest, shortestTime(1, [&] { writeFile(jpeg, path, sync); }));
      fs::remove(path);
    }
    return shortest;
  }

  static void writeFile(const Bytes& jpeg, const std::string& path, bool sync) {
    std::string failure;
    const auto source = picture::openJpegRows(jpeg, failure);
    FileSink sink(path + ".part");
    const auto result = picture::writePng(*source, {}, sink, {.threads = 2});
    if (result != picture::PngResult::Written || (sync && !sink.sync())) std::abort();
    fs::rename(path + ".part", path);
  }

  // Kilobytes that the conversion program says it took.
  static double processMemory(const Bytes& jpeg, const std::string& path) {
    const std::string input = path + ".jpg";
    std::ofstream(input, std::ios::binary)
        .write(reinterpret_cast<const char*>(jpeg.data()), static_cast<std::streamsize>(jpeg.size()));
    std::FILE* pipe = ::popen((CAMERA_SHOT_BENCH_JPEG2PNG " '" + input + "' '" + path + "' 2").c_str(), "r");
    double kilobytes = 0;
    if (pipe == nullptr || std::fscanf(pipe, "VmHWM: %lf", &kilobytes) != 1)
      std::puts("memory: not measured");
    if (pipe != nullptr) ::pclose(pipe);
    fs::remove(input);
    return kilobytes;
  }

  Options options_;
  int runs_;
  std::map<std::string, bool> absent_;
  std::map<std::string, std::pair<std::vector<double>, std::vector<double>>>
      files_;  // by kind, unsynced and synced
  double memory_ = 0;
};

void measureGenerated(Benchmark& benchmark, const Options& options, bool large) {
  const std::string size = large ? "12 megapixels" : "1080p";
  std::map<std::string, Table> tables;
  forEachGeneratedSample({options.quick, large}, [&](const Sample& sample) {
    auto& table = tables.try_emplace(sample.kind, "Generated, " + size + ", " + sample.kind).first->second;
    benchmark.measure(sample, table);
  });
  for (const auto& [kind, table] : tables)
    table.print();
}

void measureInstalled(Benchmark& benchmark, const Options& options) {
  std::map<std::string, Table> tables;
  forEachInstalledSample(options.folders, [&](const Sample& sample) {
    benchmark.measure(sample, tables.try_emplace(sample.kind, "Installed, " + sample.kind).first->second);
  });
  for (const auto& [kind, table] : tables)
    table.print();
}

int run(const Options& options) {
  for (const std::string& name : absentPeers())
    std::printf("not built in: %s\n", name.c_str());
  std::printf("Times and sizes as ratios to libpng's defaults on the same picture, geometric means.\n");
  Benchmark benchmark(options);
  if (options.small) measureGenerated(benchmark, options, false);
  if (options.large) measureGenerated(benchmark, options, true);
  if (options.installed) measureInstalled(benchmark, options);
  benchmark.printFiles();
  return 0;
}

}  // namespace
}  // namespace camera_shot_bench

int main(int argc, char** argv) {
  camera_shot_bench::Options options;
  for (int i = 1; i < argc; ++i) {
    const std::string argument = argv[i];
    if (argument == "--quick") {
      options.quick = true;
      options.installed = false;
    } else if (argument == "--ours") {
      options.ours = true;
    } else if (argument == "--cpu") {
      camera_shot_bench::takesProcessorTime = true;
    } else if (argument == "--verbose") {
      options.verbose = true;
    } else if (argument == "--small") {
      options.large = false;
      options.installed = false;
    } else if (argument == "--large") {
      options.small = false;
      options.installed = false;
    } else if (argument == "--installed") {
      options.small = false;
      options.large = false;
      options.installed = true;
    } else if (argument.starts_with("--pictures=")) {
      options.folders = {argument.substr(std::strlen("--pictures="))};
    } else {
      std::fputs(
          "usage: png_bench [--quick] [--ours] [--cpu] [--verbose] [--small | --large | --installed] "
          "[--pictures=FOLDER]\n",
          stderr);
      return 2;
    }
  }
  return camera_shot_bench::run(options);
}
