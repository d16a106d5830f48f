#include "tests/desktop/virtual-camera/FrameStore.h"

#include <algorithm>
#include <cstring>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <utility>

#include "tests/desktop/virtual-camera/JpegEncoder.h"
#include "tests/desktop/virtual-camera/RawEncoder.h"

namespace virtual_camera {
namespace {

/// Enough for a viewer to see that the picture lives; more would only lengthen the first start.
constexpr std::uint16_t kJpegFrames = 8;

Bytes readFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  Bytes bytes((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
  if (!file || bytes.empty()) throw std::runtime_error("cannot read the picture " + path);
  return bytes;
}

/// Width and height from the frame header (ITU-T T.81, B.2.2: marker 0xffc0 to 0xffc2, length, precision,
/// lines, columns), so that a picture whose other parts are broken can be served as well.
std::pair<std::uint32_t, std::uint32_t> jpegSize(const Bytes& bytes, const std::string& path) {
  const auto number = [&](std::size_t at) { return std::uint32_t{bytes[at]} << 8 | bytes[at + 1]; };
  std::size_t at = 2;
  while (at + 9 <= bytes.size() && bytes[at] == 0xff) {
    if (bytes[at + 1] >= 0xc0 && bytes[at + 1] <= 0xc2) return {number(at + 7), number(at + 5)};
    at += 2 + number(at + 2);
  }
  throw std::runtime_error(path + ": not a JPEG picture");
}

RgbPicture drawTransformed(const CameraSpec& spec, const FrameLayout& layout) {
  const bool sideways = isSideways(spec.transform);
  return transformed(drawTestPicture(sideways ? layout.height : layout.width,
                                     sideways ? layout.width : layout.height, spec.tint, spec.noise),
                     spec.transform);
}

}  // namespace

PreparedFrames::PreparedFrames(const CameraSpec& spec, const FrameLayout& layout)
    : spec_(spec), layout_(layout), picture_(drawTransformed(spec, layout)) {
  if (isRaw(layout.format)) {
    frames_.push_back(encode(picture_));
    return;
  }
  auto counted = picture_;
  for (std::uint16_t count = 0; count < kJpegFrames; ++count) {
    drawCounter(counted, count);
    frames_.push_back(encode(counted));
    layout_.size = std::max(layout_.size, frames_.back().size());
  }
}

PreparedFrames::PreparedFrames(const CameraSpec& spec, const FrameLayout& layout, std::vector<Bytes> frames)
    : spec_(spec), layout_(layout), picture_(0, 0), frames_(std::move(frames)) {
  for (const auto& frame : frames_)
    layout_.size = std::max(layout_.size, frame.size());
}

Bytes PreparedFrames::encode(const RgbPicture& picture) const {
  if (isRaw(layout_.format)) return encodeRaw(picture, layout_, spec_.colorimetry);
  return encodeJpeg(picture, spec_.jpeg);
}

const Bytes& PreparedFrames::frame(std::uint64_t sequence, std::uint8_t light) {
  if (light == kFullLight || picture_.samples.empty()) return frames_[sequence % frames_.size()];
  auto known = darker_.find(light);
  if (known == darker_.end()) {
    auto picture = picture_;
    darken(picture, light);
    known = darker_.emplace(light, encode(picture)).first;
  }
  return known->second;
}

std::size_t PreparedFrames::write(std::uint64_t sequence, std::uint8_t light, std::span<std::uint8_t> room) {
  const auto& bytes = frame(sequence, light);
  const auto size = std::min(bytes.size(), room.size());
  std::memcpy(room.data(), bytes.data(), size);
  if (isRaw(layout_.format) && size == layout_.size)
    drawCounterRaw(room.data(), layout_, spec_.colorimetry, static_cast<std::uint16_t>(sequence));
  return size;
}

FrameStore::FrameStore(CameraSpec& spec) : spec_(spec) {
  for (const auto& path : spec.pictures) {
    pictures_.push_back(readFile(path));
    if (spec.modes.empty()) {
      const auto [width, height] = jpegSize(pictures_.back(), path);
      spec.modes.push_back({PixelFormat::kMjpg, width, height, {30}});
    }
    if (spec.modes.size() != 1 || spec.modes.front().format != PixelFormat::kMjpg)
      throw std::runtime_error(path + ": pictures need exactly one mode, of MJPG");
  }
}

PreparedFrames& FrameStore::prepare(PixelFormat format, std::uint32_t width, std::uint32_t height) {
  const std::tuple key(format, width, height);
  auto known = prepared_.find(key);
  if (known == prepared_.end()) known = prepared_.emplace(key, make(format, width, height)).first;
  return known->second;
}

PreparedFrames FrameStore::make(PixelFormat format, std::uint32_t width, std::uint32_t height) const {
  const auto layout = frameLayout(format, width, height, spec_.padding);
  if (!pictures_.empty()) return {spec_, layout, pictures_};
  return {spec_, layout};
}

}  // namespace virtual_camera
