#include "platform/linux/camera/FrameBuffer.h"

#include <algorithm>
#include <numeric>

#include "picture/CeilDivide.h"
#include "picture/JpegMarkers.h"
#include "picture/PixelLayout.h"
#include "picture/PixelSize.h"

namespace platform_linux {
namespace {

/// What a plane takes in memory.
struct PlaneSpace {
  std::size_t stride = 0;
  std::size_t rows = 0;
};
using PlaneSpaces = std::array<PlaneSpace, picture::PixelLayout::kMaximumPlanes>;

// Drivers state the first plane's stride, and the others follow from it.
PlaneSpaces spacesOfDrivers(const picture::PixelLayout& layout, const FrameFormat& format,
                            std::size_t firstStride) {
  PlaneSpaces spaces;
  for (std::size_t i = 0; i < layout.planeCount; ++i)
    spaces[i] = {layout.stride(i, firstStride, static_cast<int>(format.width)),
                 layout.rows(i, static_cast<int>(format.height))};
  return spaces;
}

// GStreamer ends the rows of every plane at a whole word, of samples in threes at a whole eight groups, and,
// where two rows share their colours, completes the first plane to an even number of rows
// (`gst_video_info_set_format`).
PlaneSpaces spacesOfWords(const picture::PixelLayout& layout, const FrameFormat& format) {
  const std::size_t unit = layout.word.packing == picture::PixelLayout::Packing::Threes ? 128 : 4;
  PlaneSpaces spaces;
  for (std::size_t i = 0; i < layout.planeCount; ++i) {
    const std::size_t units = picture::ceilDivide(layout.rowBytes(i, static_cast<int>(format.width)), unit);
    spaces[i] = {units * unit, layout.rows(i, static_cast<int>(format.height))};
  }
  spaces[0].rows =
      std::max(spaces[0].rows, layout.rows(layout.planeCount - 1, static_cast<int>(format.height))
                                   << layout.planes[layout.planeCount - 1].down);
  return spaces;
}

std::size_t bytesOf(const PlaneSpaces& spaces) {
  return std::accumulate(
      spaces.begin(), spaces.end(), std::size_t{0},
      [](std::size_t sum, const PlaneSpace& each) { return sum + each.stride * each.rows; });
}

// Nodes that are fed by GStreamer may state no stride at all: then the size of their block tells.
PlaneSpaces spacesInBlock(const FrameBlock& block, const picture::PixelLayout& layout,
                          const FrameFormat& format) {
  const PlaneSpaces words = spacesOfWords(layout, format);
  const bool agrees = block.stride == 0 || block.stride == words[0].stride;
  if (agrees && block.bytes.size() == bytesOf(words)) return words;
  const std::size_t tight = layout.rowBytes(0, static_cast<int>(format.width));
  return spacesOfDrivers(layout, format, block.stride > 0 ? block.stride : tight);
}

// A start-of-image marker and another one (ITU-T T.81, Annex B). Whether the rest is whole takes longer to
// find out than the cameras' thread has.
constexpr std::array<std::uint8_t, 3> kJpegBeginning{0xff, 0xd8, 0xff};
constexpr std::size_t kShortestJpeg = 5;

// How far behind the beginning of a buffer a stream may stand: as far as the longest marker segment reaches.
constexpr std::size_t kMostBeforeJpeg = 65536;

// The JPEG stream in a buffer; empty where there is none. Some cameras put bytes of their own before it. What
// stands there must be of the camera's size then: of a stream whose beginning was lost the thumbnail may be
// left.
std::span<const std::uint8_t> jpegIn(std::span<const std::uint8_t> bytes, const FrameFormat& format) {
  const auto sought = bytes.first(std::min(bytes.size(), kMostBeforeJpeg));
  const auto begin = std::search(sought.begin(), sought.end(), kJpegBeginning.begin(), kJpegBeginning.end());
  const auto jpeg = bytes.subspan(static_cast<std::size_t>(begin - sought.begin()));
  if (begin == sought.end() || jpeg.size() < kShortestJpeg) return {};
  const picture::PixelSize size{static_cast<int>(format.width), static_cast<int>(format.height)};
  return begin == sought.begin() || picture::sizeOfJpeg(jpeg) == size ? jpeg
                                                                      : std::span<const std::uint8_t>();
}

}  // namespace

std::optional<FrameBuffer> FrameBuffer::pictureIn(std::span<const FrameBlock> blocks,
                                                  const FrameFormat& format) {
  if (blocks.empty() || blocks[0].bytes.empty()) return {};
  FrameBuffer picture(format);
  if (format.format == picture::PixelFormat::MJPG) {
    picture.planes_[0].bytes = jpegIn(blocks[0].bytes, format);
    if (picture.planes_[0].bytes.empty()) return {};
    return picture;
  }
  if (!picture.findPlanes(blocks)) return {};
  return picture;
}

bool FrameBuffer::findPlanes(std::span<const FrameBlock> blocks) {
  if (!picture::isAcceptablePictureSize(format_.width, format_.height)) return false;
  const auto& layout = picture::PixelLayout::of(format_.format);
  const auto width = static_cast<int>(format_.width);
  planeCount_ = layout.planeCount;
  // Most cameras put all planes into one block of memory, one after the other; some use a block a plane.
  const bool blockAPlane = planeCount_ > 1 && blocks.size() >= planeCount_;
  const PlaneSpaces spaces = spacesInBlock(blocks[0], layout, format_);
  std::span<const std::uint8_t> rest = blocks[0].bytes;

  for (std::size_t i = 0; i < planeCount_; ++i) {
    Plane& plane = planes_[i];
    plane.rowBytes = layout.rowBytes(i, width);
    plane.rows = layout.rows(i, static_cast<int>(format_.height));
    plane.copyStride = layout.stride(i, spaces[0].stride, width);
    plane.stride = spaces[i].stride;
    if (blockAPlane) {
      rest = blocks[i].bytes;
      if (blocks[i].stride > 0) plane.stride = blocks[i].stride;
    }
    if (plane.stride < plane.rowBytes || plane.copyStride < plane.rowBytes || plane.rows == 0) return false;
    // The last row may come without its padding.
    if (rest.size() < plane.stride * (plane.rows - 1) + plane.rowBytes) return false;
    plane.bytes = rest.first(std::min(rest.size(), plane.stride * plane.rows));
    rest = rest.subspan(std::min(rest.size(), plane.stride * spaces[i].rows));
  }
  return true;
}

std::shared_ptr<picture::Frame> FrameBuffer::copy(std::uint64_t sequence) const {
  auto frame = std::make_shared<picture::Frame>();
  frame->format = format_.format;
  frame->width = static_cast<int>(format_.width);
  frame->height = static_cast<int>(format_.height);
  frame->stride = static_cast<int>(planes_[0].copyStride);
  frame->matrix = format_.matrix;
  frame->range = format_.range;
  frame->transform = format_.transform;
  frame->captured = std::chrono::system_clock::now();
  frame->sequence = sequence;
  if (planeCount_ == 1) {
    frame->bytes.assign(planes_[0].bytes.begin(), planes_[0].bytes.end());
    frame->bytes.resize(std::max(frame->bytes.size(), planes_[0].copyStride * planes_[0].rows));
    return frame;
  }
  for (std::size_t i = 0; i < planeCount_; ++i)
    appendPlane(planes_[i], frame->bytes);
  return frame;
}

void FrameBuffer::appendPlane(const Plane& plane, std::vector<std::uint8_t>& bytes) {
  const std::size_t end = bytes.size() + plane.copyStride * plane.rows;
  if (plane.stride == plane.copyStride) {
    bytes.insert(bytes.end(), plane.bytes.begin(), plane.bytes.end());
  } else {
    for (std::size_t row = 0; row < plane.rows; ++row) {
      const auto pixels = plane.bytes.subspan(row * plane.stride, plane.rowBytes);
      bytes.insert(bytes.end(), pixels.begin(), pixels.end());
      bytes.resize(bytes.size() + plane.copyStride - plane.rowBytes);
    }
  }
  bytes.resize(end);
}

}  // namespace platform_linux
