// Turns a JPEG file into a PNG file by the image engine, and tells the memory that it took.

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "bench/png/FileSink.h"
#include "picture/PhotoRows.h"
#include "picture/png/PngWriter.h"

namespace {

// Read to its exact size at once, so that the process holds the file once.
std::vector<std::uint8_t> readFile(const char* path) {
  std::ifstream file(path, std::ios::binary | std::ios::ate);
  std::vector<std::uint8_t> bytes(file ? static_cast<std::size_t>(file.tellg()) : 0);
  file.seekg(0);
  file.rdbuf()->pubsetbuf(nullptr, 0);
  file.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  return bytes;
}

// The most memory that was resident at once, as the kernel counts it ("VmHWM: 1234 kB").
std::string peakMemory() {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    if (line.starts_with("VmHWM:")) return line;
  }
  return "VmHWM: unknown";
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 3) {
    std::fputs("usage: jpeg2png INPUT.jpg OUTPUT.png [THREADS]\n", stderr);
    return 2;
  }
  const auto jpeg = readFile(argv[1]);
  std::string failure;
  const auto source = picture::openJpegRows(jpeg, failure);
  if (!source) {
    std::fprintf(stderr, "%s: %s\n", argv[1], failure.c_str());
    return 1;
  }
  camera_shot_bench::FileSink sink(argv[2]);
  const unsigned threads = argc > 3 ? static_cast<unsigned>(std::atoi(argv[3])) : 0;
  const auto result = picture::writePng(*source, {.captureTime = std::chrono::system_clock::now()}, sink,
                                        {.threads = threads});
  if (result != picture::PngResult::Written) {
    std::fprintf(stderr, "%s: failed. %s\n", argv[2], source->failure().c_str());
    return 1;
  }
  std::puts(peakMemory().c_str());
  return 0;
}
