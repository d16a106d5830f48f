#include "platform/linux/ui/PreviewDecoder.h"

#include <algorithm>
#include <utility>

#include "platform/linux/ui/ScaledJpeg.h"
#include "platform/linux/ui/ScaledRaw.h"

namespace platform_linux {
namespace {

constexpr std::size_t kBuffersKept = 3;
/// No camera sends more; a header that claims more is damaged.
constexpr int kLargestSide = 32767;

bool isSane(PixelSize size) {
  return size.width > 0 && size.height > 0 && size.width <= kLargestSide && size.height <= kLargestSide;
}

int ceilDivide(std::int64_t value, std::int64_t divisor) {
  return static_cast<int>((value + divisor - 1) / divisor);
}

}  // namespace

PixelBufferPool::Buffer PixelBufferPool::take(std::size_t size) {
  {
    const std::lock_guard lock(mutex_);
    const auto fitting =
        std::find_if(unused_.begin(), unused_.end(), [size](const Buffer& b) { return b->size() == size; });
    if (fitting != unused_.end()) {
      Buffer buffer = std::move(*fitting);
      unused_.erase(fitting);
      return buffer;
    }
    unused_.clear();  // of another size: the view has changed
  }
  return std::make_unique<std::vector<std::uint8_t>>(size);
}

void PixelBufferPool::giveBack(Buffer buffer) {
  const std::lock_guard lock(mutex_);
  if (unused_.size() < kBuffersKept) unused_.push_back(std::move(buffer));
}

void PixelBufferPool::clear() {
  const std::lock_guard lock(mutex_);
  unused_.clear();
}

PixelSize aspectFit(PixelSize picture, PixelSize view) {
  if (picture.width <= 0 || picture.height <= 0 || view.width <= 0 || view.height <= 0) return {};
  const std::int64_t viewWidth = view.width;
  const std::int64_t viewHeight = view.height;
  const bool fullWidth = viewWidth * picture.height <= viewHeight * picture.width;
  return fullWidth ? PixelSize{view.width, ceilDivide(viewWidth * picture.height, picture.width)}
                   : PixelSize{ceilDivide(viewHeight * picture.width, picture.height), view.height};
}

PixelSize decodedSize(const Frame& frame, PixelSize view) {
  const PixelSize picture{frame.width, frame.height};
  const PixelSize covered = aspectFit(picture, view);
  if (!isSane(picture) || covered == PixelSize{}) return {};
  return frame.format == PixelFormat::MJPG ? scaledJpegSize(picture, covered)
                                           : scaledRawSize(picture, covered);
}

std::optional<DecodedPicture> decodeForView(const Frame& frame, PixelSize view, PixelBufferPool& pool) {
  const PixelSize size = decodedSize(frame, view);
  if (size == PixelSize{}) return {};
  auto pixels = pool.take(std::size_t{4} * size.width * size.height);
  const bool decoded = frame.format == PixelFormat::MJPG ? decodeScaledJpeg(frame, size, *pixels)
                                                         : decodeScaledRaw(frame, size, *pixels);
  if (!decoded) {
    pool.giveBack(std::move(pixels));
    return {};
  }
  return DecodedPicture{size, std::move(pixels)};
}

}  // namespace platform_linux
