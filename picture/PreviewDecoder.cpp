#include "picture/PreviewDecoder.h"

#include <algorithm>
#include <array>
#include <utility>

#include <libyuv.h>

#include "picture/CeilDivide.h"
#include "picture/FrameOrientation.h"
#include "picture/PixelRows.h"
#include "picture/ScaledJpeg.h"
#include "picture/ScaledRaw.h"

namespace picture {
namespace {

constexpr std::size_t kBuffersKept = 4;

std::size_t bytesOf(PixelSize size) {
  return std::size_t{4} * static_cast<std::size_t>(size.width) * static_cast<std::size_t>(size.height);
}

PixelSize swapped(PixelSize size) {
  return {size.height, size.width};
}

/// The smallest size that is cheap to reach and still covers `covered`; never larger than the picture.
PixelSize cheapSize(const Frame& frame, PixelSize stored, PixelSize covered) {
  return frame.format == PixelFormat::MJPG ? scaledJpegSize(stored, covered) : scaledRawSize(stored, covered);
}

std::optional<DecodedPicture> decodeCovering(const Frame& frame, PixelSize covered, bool mirrored,
                                             PixelBufferPool& pool) {
  const PixelSize stored = storedSize(frame);
  const PixelSize size = cheapSize(frame, stored, covered);
  auto pixels = pool.take(bytesOf(size));
  PixelRows rows(*pixels, size, mirrored);
  const bool decoded = frame.format == PixelFormat::MJPG ? decodeScaledJpeg(frame, stored, rows)
                                                         : decodeScaledRaw(frame, rows);
  if (decoded) return DecodedPicture{size, std::move(pixels)};
  pool.giveBack(std::move(pixels));
  return {};
}

DecodedPicture scaled(DecodedPicture decoded, PixelSize size, PixelBufferPool& pool) {
  if (decoded.size == size) return decoded;
  auto pixels = pool.take(bytesOf(size));
  libyuv::ARGBScale(decoded.pixels->data(), decoded.size.width * 4, decoded.size.width, decoded.size.height,
                    pixels->data(), size.width * 4, size.width, size.height, libyuv::kFilterBox);
  pool.giveBack(std::move(decoded.pixels));
  return {size, std::move(pixels)};
}

DecodedPicture turned(DecodedPicture decoded, int quarterTurns, PixelBufferPool& pool) {
  if (quarterTurns == 0) return decoded;
  constexpr std::array kRotations = {libyuv::kRotate0, libyuv::kRotate90, libyuv::kRotate180,
                                     libyuv::kRotate270};
  const PixelSize size = quarterTurns % 2 != 0 ? swapped(decoded.size) : decoded.size;
  auto pixels = pool.take(bytesOf(size));
  libyuv::ARGBRotate(decoded.pixels->data(), decoded.size.width * 4, pixels->data(), size.width * 4,
                     decoded.size.width, decoded.size.height,
                     kRotations[static_cast<std::size_t>(quarterTurns)]);
  pool.giveBack(std::move(decoded.pixels));
  return {size, std::move(pixels)};
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
  const auto scaled = [](std::int64_t product, std::int64_t divisor) {
    return static_cast<int>(ceilDivide(product, divisor));
  };
  return fullWidth ? PixelSize{view.width, scaled(viewWidth * picture.height, picture.width)}
                   : PixelSize{scaled(viewHeight * picture.width, picture.height), view.height};
}

PixelSize decodedSize(const Frame& frame, const PictureRequest& request) {
  const PixelSize picture = uprightSize(frame);
  const PixelSize fitted = aspectFit(picture, request.view);
  if (!isAcceptablePictureSize(picture) || fitted == PixelSize{}) return {};
  return fitted.width > picture.width && !request.mayEnlarge ? picture : fitted;
}

// Mirrored while it is decoded, then scaled, and turned last, when the fewest pixels are left.
std::optional<DecodedPicture> decodeForView(const Frame& frame, const PictureRequest& request,
                                            PixelBufferPool& pool) {
  const PixelSize size = decodedSize(frame, request);
  if (size == PixelSize{}) return {};
  const Orientation upright = uprightOrientation(frame);
  const Orientation orientation = request.mirrored ? upright.thenMirrored() : upright;
  const PixelSize unturned = orientation.sizeOf(size);
  auto decoded = decodeCovering(frame, unturned, orientation.isMirrored, pool);
  if (!decoded) return {};
  return turned(scaled(std::move(*decoded), unturned, pool), orientation.quarterTurns, pool);
}

}  // namespace picture
