#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

#include "platform/linux/image/Frame.h"

namespace platform_linux {

struct PixelSize {
  int width = 0;
  int height = 0;

  bool operator==(const PixelSize&) const = default;
};

/// Pixel memory that is used again, so that a running preview allocates nothing. Thread-safe.
class PixelBufferPool {
 public:
  using Buffer = std::unique_ptr<std::vector<std::uint8_t>>;

  /// A buffer of exactly `size` bytes, contents undefined.
  Buffer take(std::size_t size);
  /// Gives a buffer back. The pool keeps as many as a view has in use at a time: shown, next and being
  /// decoded.
  void giveBack(Buffer buffer);
  /// Frees what lies unused.
  void clear();

 private:
  std::mutex mutex_;
  std::vector<Buffer> unused_;
};

/// Pixels in memory order blue, green, red, 255; rows follow one another without gaps.
struct DecodedPicture {
  PixelSize size;
  PixelBufferPool::Buffer pixels;
};

/// The largest size of `picture`'s shape that fits in `view`, rounded up to whole pixels; empty when either
/// is.
PixelSize aspectFit(PixelSize picture, PixelSize view);

/// The size to which decodeForView decodes: the smallest one that is cheap to reach and still covers the part
/// of `view` that the picture takes; never larger than the picture.
PixelSize decodedSize(const Frame& frame, PixelSize view);

/// Decodes a frame for a view of that size in pixels, unmirrored. JPEG is scaled while it is decoded, raw
/// pictures are averaged down by a whole factor. Nothing when the frame is damaged, absurd or of no size.
/// Thread-safe.
std::optional<DecodedPicture> decodeForView(const Frame& frame, PixelSize view, PixelBufferPool& pool);

}  // namespace platform_linux
