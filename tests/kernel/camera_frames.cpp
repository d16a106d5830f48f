// Lists the cameras of a source, or measures one frame of each of a camera's formats against its RGB picture.
//
//   camera_frames devices|daemon list               a line a camera: its identity, a tab, its title
//   camera_frames devices|daemon compare FILE       FILE: rows of RGB, the size of which is taken. A line a
//   format: its
//                                                   name, the largest and the mean difference of a sample
//   camera_frames devices time                      milliseconds to the list, and from there to the first
//   frame

#include <algorithm>
#include <chrono>
#include <cmath>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <iterator>
#include <memory>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "picture/PhotoRows.h"
#include "picture/PixelLayout.h"
#include "platform/linux/camera/CameraThread.h"
#include "platform/linux/camera/pipewire/PipeWireFrameSource.h"
#include "platform/linux/camera/v4l2/DeviceFrameSource.h"

namespace {

using namespace platform_linux;
using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;
using Bytes = std::vector<std::uint8_t>;

/// How long an emulated machine may take for anything.
constexpr auto kPatience = 30s;

/// One value that comes from the loop's thread.
template <typename T>
class Awaited {
 public:
  void set(T value) {
    {
      const std::scoped_lock lock(mutex_);
      value_ = std::move(value);
    }
    changed_.notify_all();
  }
  T wait(const char* what) {
    std::unique_lock lock(mutex_);
    if (!changed_.wait_for(lock, kPatience, [this] { return value_.has_value(); }))
      throw std::runtime_error(std::string(what) + " did not come");
    return *std::exchange(value_, {});
  }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  std::optional<T> value_;
};

class Cameras final : public FrameSource::Client {
 public:
  explicit Cameras(std::shared_ptr<FrameSource> source) : source_(std::move(source)) {
    source_->start(loop_, *this);
  }
  Cameras(const Cameras&) = delete;
  Cameras& operator=(const Cameras&) = delete;
  ~Cameras() override {
    loop_.end([this] { source_->stop(); });
  }

  void camerasChanged(const FrameSource&, CameraCensus census) override {
    if (census.state == CameraCensus::State::Complete && !census.cameras.empty())
      cameras_.set(std::move(census.cameras));
  }

  std::vector<Camera> list() { return cameras_.wait("the list"); }
  std::shared_ptr<const picture::Frame> frame(const Camera& camera, const CameraMode& mode);

 private:
  CameraThread loop_;
  const std::shared_ptr<FrameSource> source_;
  Awaited<std::vector<Camera>> cameras_;
};

class FirstFrame final : public FrameStream::Client {
 public:
  void frameArrived(const FrameBuffer& picture) override {
    if (!hasCome_) outcome.set(picture.copy(0));
    hasCome_ = true;
  }
  void streamEnded(int) override {
    if (!hasCome_) outcome.set(nullptr);
    hasCome_ = true;
  }

  Awaited<std::shared_ptr<const picture::Frame>> outcome;

 private:
  bool hasCome_ = false;
};

std::shared_ptr<const picture::Frame> Cameras::frame(const Camera& camera, const CameraMode& mode) {
  FirstFrame first;
  std::unique_ptr<FrameStream> stream;
  loop_.post([&] { stream = source_->open(camera, mode, first); });
  const auto frame = first.outcome.wait("a frame");
  Awaited<bool> closed;
  loop_.post([&] {
    stream.reset();
    closed.set(true);
  });
  closed.wait("the end of the stream");
  return frame;
}

Bytes decoded(const picture::Frame& frame) {
  std::string failure;
  const auto rows = picture::openPhotoRows(frame, false, failure);
  if (!rows) throw std::runtime_error(failure);
  Bytes bytes(rows->rowBytes() * rows->height());
  if (!rows->readRows(bytes)) throw std::runtime_error(rows->failure());
  return bytes;
}

/// Whether the reference is of one colour around that pixel: at edges, formats that have less colour than
/// luma, or fewer levels, may differ.
bool isFlat(const Bytes& reference, std::size_t x, std::size_t y, std::size_t width, std::size_t height) {
  constexpr std::size_t kAround = 4;
  if (x < kAround || y < kAround || x + kAround >= width || y + kAround >= height) return false;
  const auto pixel = [&](std::size_t column, std::size_t row) {
    return &reference[3 * (row * width + column)];
  };
  for (std::size_t row = y - kAround; row <= y + kAround; ++row)
    for (std::size_t column = x - kAround; column <= x + kAround; ++column)
      if (!std::equal(pixel(x, y), pixel(x, y) + 3, pixel(column, row))) return false;
  return true;
}

/// The largest difference of a sample of a flat region, and the share of the picture that is flat.
std::string difference(const Bytes& picture, const Bytes& reference, std::size_t width) {
  if (picture.size() != reference.size()) return "another size";
  const std::size_t height = reference.size() / 3 / width;
  int largest = 0;
  std::size_t flat = 0;
  for (std::size_t y = 0; y < height; ++y) {
    for (std::size_t x = 0; x < width; ++x) {
      if (!isFlat(reference, x, y, width, height)) continue;
      ++flat;
      for (std::size_t i = 3 * (y * width + x); i < 3 * (y * width + x) + 3; ++i)
        largest = std::max(largest, std::abs(picture[i] - reference[i]));
    }
  }
  return std::to_string(largest) + " " + std::to_string(flat * 100 / (width * height));
}

/// The same without colour, as the test driver weighs it (ITU-R BT.709).
Bytes greyed(Bytes rgb) {
  for (std::size_t i = 0; i + 2 < rgb.size(); i += 3) {
    const double luma = 0.2126 * rgb[i] + 0.7152 * rgb[i + 1] + 0.0722 * rgb[i + 2];
    std::fill_n(rgb.begin() + static_cast<std::ptrdiff_t>(i), 3,
                static_cast<std::uint8_t>(std::lround(luma)));
  }
  return rgb;
}

Bytes readFile(const char* path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

/// One frame of each format, in the size of the reference and whatever rate comes first.
void compare(Cameras& cameras, const Bytes& reference) {
  const Camera camera = cameras.list().front();
  std::vector<picture::PixelFormat> done;
  for (const CameraMode& mode : camera.modes) {
    const bool isNew = std::find(done.begin(), done.end(), mode.format) == done.end();
    if (!isNew || std::size_t{3} * mode.width * mode.height != reference.size()) continue;
    done.push_back(mode.format);
    const auto frame = cameras.frame(camera, mode);
    const picture::PixelLayout& layout = picture::PixelLayout::of(mode.format);
    const Bytes expected = layout.model == picture::ColorModel::Grey ? greyed(reference) : reference;
    std::printf("%s %s\n", std::string(layout.name).c_str(),
                frame ? difference(decoded(*frame), expected, mode.width).c_str() : "failed");
    std::fflush(stdout);
  }
}

double millisecondsSince(Clock::time_point begin) {
  return std::chrono::duration<double, std::milli>(Clock::now() - begin).count();
}

void measure(const std::function<std::shared_ptr<FrameSource>()>& makeSource) {
  const auto begin = Clock::now();
  Cameras cameras(makeSource());
  const Camera camera = cameras.list().front();
  std::printf("list %.1f\n", millisecondsSince(begin));
  const auto listed = Clock::now();
  static_cast<void>(cameras.frame(camera, camera.modes.front()));
  std::printf("frame %.1f\n", millisecondsSince(listed));
}

std::shared_ptr<FrameSource> makeSource(const std::string& name) {
  if (name == "daemon") return std::make_shared<PipeWireFrameSource>();
  return std::make_shared<DeviceFrameSource>();
}

}  // namespace

int main(int argc, char** argv) try {
  const std::string source = argc > 2 ? argv[1] : "";
  const std::string request = argc > 2 ? argv[2] : "";
  if (request == "list") {
    Cameras cameras(makeSource(source));
    for (const Camera& camera : cameras.list())
      std::printf("%s\t%s\n", camera.uniqueID.c_str(), camera.localizedName.c_str());
  } else if (request == "compare" && argc > 3) {
    Cameras cameras(makeSource(source));
    compare(cameras, readFile(argv[3]));
  } else if (request == "time") {
    measure([&] { return makeSource(source); });
  } else {
    std::fputs("camera_frames devices|daemon list|compare FILE|time\n", stderr);
    return 2;
  }
  return 0;
} catch (const std::exception& error) {
  std::fprintf(stderr, "camera_frames: %s\n", error.what());
  return 1;
}
