#include "picture/PreviewDecoder.h"

#include <algorithm>
#include <utility>

#include <libyuv.h>

#include "picture/PixelRows.h"
#include "picture/ScaledJpeg.h"
#include "picture/ScaledRaw.h"

namespace picture {
namespace {

constexpr std::size_t kBuffersKept = 4;

int ceilDivide(std::int64_t value, std::int64_t divisor) {
  return static_cast<int>((value + divisor - 1) / divisor);
}

std::size_t bytesOf(PixelSize size) {
  return std::size_t{4} * static_cast<std::size_t>(size.width) * static_cast<std::size_t>(size.height);
}

/// The smallest size that is cheap to reach and still covers `covered`; never larger than the picture.
PixelSize cheapSize(const Frame& frame, PixelSize covered) {
  const PixelSize picture{frame.width, frame.height};
  return frame.format == PixelFormat::MJPG ? scaledJpegSize(picture, covered)
                                           : scaledRawSize(picture, covered);
}

std::optional<DecodedPicture> decodeCovering(const Frame& frame, PixelSize covered, bool mirrored,
                                             PixelBufferPool& pool) {
  const PixelSize size = cheapSize(frame, covered);
  auto pixels = pool.take(bytesOf(size));
  PixelRows rows(*pixels, size, mirrored);
  const bool decoded =
      frame.format == PixelFormat::MJPG ? decodeScaledJpeg(frame, rows) : decodeScaledRaw(frame, rows);
  if (decoded) return DecodedPicture{size, std::move(pixels)};
  pool.giveBack(std::move(pixels));
  return {};
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

PixelSize aspectFit(PixelSize picture, PixelSize view) {
  if (picture.width <= 0 || picture.height <= 0 || view.width <= 0 || view.height <= 0) return {};
  const std::int64_t viewWidth = view.width;
  const std::int64_t viewHeight = view.height;
  const bool fullWidth = viewWidth * picture.height <= viewHeight * picture.width;
  return fullWidth ? PixelSize{view.width, ceilDivide(viewWidth * picture.height, picture.width)}
                   : PixelSize{ceilDivide(viewHeight * picture.width, picture.height), view.height};
}

PixelSize decodedSize(const Frame& frame, const PictureRequest& request) {
  const PixelSize picture{frame.width, frame.height};
  const PixelSize fitted = aspectFit(picture, request.view);
  if (!isAcceptablePictureSize(picture) || fitted == PixelSize{}) return {};
  return fitted.width > picture.width && !request.mayEnlarge ? picture : fitted;
}

std::optional<DecodedPicture> decodeForView(const Frame& frame, const PictureRequest& request,
                                            PixelBufferPool& pool) {
  const PixelSize size = decodedSize(frame, request);
  if (size == PixelSize{}) return {};
  auto decoded = decodeCovering(frame, size, request.mirrored, pool);
  if (!decoded || decoded->size == size) return decoded;
  auto pixels = pool.take(bytesOf(size));
  libyuv::ARGBScale(decoded->pixels->data(), decoded->size.width * 4, decoded->size.width,
                    decoded->size.height, pixels->data(), size.width * 4, size.width, size.height,
                    libyuv::kFilterBox);
  pool.giveBack(std::move(decoded->pixels));
  return DecodedPicture{size, std::move(pixels)};
}

}  // namespace picture
