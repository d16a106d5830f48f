#include "tests/desktop/virtual-camera/FrameStore.h"

#include <algorithm>
#include <cstring>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <utility>

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

std::vector<Bytes> encodeJpegs(const CameraSpec& spec, RgbPicture& picture) {
  std::vector<Bytes> frames;
  for (std::uint16_t count = 0; count < kJpegFrames; ++count) {
    drawCounter(picture, count);
    frames.push_back(encodeJpeg(picture, spec.quality));
  }
  return frames;
}

}  // namespace

PreparedFrames::PreparedFrames(const FrameLayout& layout, std::vector<Bytes> frames, Bytes dark)
    : layout_(layout), frames_(std::move(frames)), dark_(std::move(dark)) {
  for (const auto& frame : frames_)
    layout_.size = std::max(layout_.size, frame.size());
}

std::size_t PreparedFrames::write(std::uint64_t sequence, bool dark, std::span<std::uint8_t> room) const {
  const auto& frame = dark && !dark_.empty() ? dark_ : frames_[sequence % frames_.size()];
  const auto size = std::min(frame.size(), room.size());
  std::memcpy(room.data(), frame.data(), size);
  if (layout_.format != PixelFormat::kMjpg && size == layout_.size)
    drawCounterRaw(room.data(), layout_, static_cast<std::uint16_t>(sequence));
  return size;
}

FrameStore::FrameStore(CameraSpec& spec) : spec_(spec) {
  for (const auto& path : spec.pictures) {
    pictures_.push_back(readFile(path));
    const auto [width, height] = jpegSize(pictures_.back(), path);
    if (spec.modes.empty()) spec.modes.push_back({PixelFormat::kMjpg, width, height, {30}});
    const auto& mode = spec.modes.front();
    if (spec.modes.size() != 1 || mode.format != PixelFormat::kMjpg || mode.width != width ||
        mode.height != height)
      throw std::runtime_error(path + ": pictures need exactly one mode, MJPG of their common size");
  }
}

const PreparedFrames& FrameStore::prepare(PixelFormat format, std::uint32_t width, std::uint32_t height) {
  const std::tuple key(format, width, height);
  auto known = prepared_.find(key);
  if (known == prepared_.end()) known = prepared_.emplace(key, make(format, width, height)).first;
  return known->second;
}

PreparedFrames FrameStore::make(PixelFormat format, std::uint32_t width, std::uint32_t height) const {
  const auto layout = frameLayout(format, width, height);
  if (!pictures_.empty()) return {layout, pictures_, {}};
  const bool jpeg = format == PixelFormat::kMjpg;
  auto picture = drawTestPicture(width, height, spec_.tint, spec_.noise);
  auto frames = jpeg ? encodeJpegs(spec_, picture) : std::vector<Bytes>(1, encodeRaw(picture, layout));
  Bytes dark;
  if (spec_.warmup > 0) {
    darken(picture);
    dark = jpeg ? encodeJpeg(picture, spec_.quality) : encodeRaw(picture, layout);
  }
  return {layout, std::move(frames), std::move(dark)};
}

}  // namespace virtual_camera
