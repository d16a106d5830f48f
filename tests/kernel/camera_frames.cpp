// Lists the cameras of a source, or measures one frame of each of a camera's formats against its RGB picture.
//
//   camera_frames devices|daemon list            a line a camera: its identity, a tab, its title
//   camera_frames devices|daemon compare FILE    FILE: rows of RGB, the size of which is taken. A line a
//                                                format: its name, the largest difference of a sample in
//                                                flat regions, and their share of the picture in percent

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "picture/PhotoRows.h"
#include "picture/PixelLayout.h"
#include "platform/linux/camera/pipewire/PipeWireFrameSource.h"
#include "platform/linux/camera/v4l2/DeviceFrameSource.h"
#include "tests/support/cameras/SourceCameras.h"

namespace {

using namespace platform_linux;
using test_support::SourceCameras;
using Bytes = std::vector<std::uint8_t>;

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
void compare(SourceCameras& cameras, const Bytes& reference) {
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

std::shared_ptr<FrameSource> makeSource(const std::string& name) {
  if (name == "daemon") return std::make_shared<PipeWireFrameSource>();
  return std::make_shared<DeviceFrameSource>();
}

}  // namespace

int main(int argc, char** argv) try {
  const std::string source = argc > 2 ? argv[1] : "";
  const std::string request = argc > 2 ? argv[2] : "";
  if (request == "list") {
    SourceCameras cameras(makeSource(source));
    for (const Camera& camera : cameras.list())
      std::printf("%s\t%s\n", camera.uniqueID.c_str(), camera.localizedName.c_str());
  } else if (request == "compare" && argc > 3) {
    SourceCameras cameras(makeSource(source));
    compare(cameras, readFile(argv[3]));
  } else {
    std::fputs("camera_frames devices|daemon list|compare FILE\n", stderr);
    return 2;
  }
  return 0;
} catch (const std::exception& error) {
  std::fprintf(stderr, "camera_frames: %s\n", error.what());
  return 1;
}
