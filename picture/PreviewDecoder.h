#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

#include "picture/Frame.h"
#include "picture/PixelSize.h"

namespace picture {

/// Pixel memory that is used again, so that a running preview allocates nothing. Thread-safe.
class PixelBufferPool {
 public:
  using Buffer = std::unique_ptr<std::vector<std::uint8_t>>;

  /// A buffer of exactly `size` bytes, contents undefined.
  Buffer take(std::size_t size);
  /// Gives a buffer back. The pool keeps as many as a view has in use at a time: shown, next, being
  /// decoded, and decoded but not yet scaled.
  void giveBack(Buffer buffer);

 private:
  std::mutex mutex_;
  std::vector<Buffer> unused_;
};

/// Pixels in memory order blue, green, red, opacity; rows follow one another without gaps. All are opaque;
/// interpolation rounds down and may leave 253 for 255.
struct DecodedPicture {
  PixelSize size;
  PixelBufferPool::Buffer pixels;
};

/// The largest size of `picture`'s shape that fits in `view`, rounded up to whole pixels; empty when either
/// is.
[[nodiscard]] PixelSize aspectFit(PixelSize picture, PixelSize view);

/// How a view wants its picture: ready to be copied to the screen, so that the main thread, which draws it,
/// has nothing to compute.
struct PictureRequest {
  PixelSize view;  ///< in device pixels
  bool mirrored = false;
  /// Whether a picture that is smaller than the view is enlarged too. A graphics processor does that better.
  bool mayEnlarge = false;

  bool operator==(const PictureRequest&) const = default;
};

/// The size to which decodeForView decodes; empty when the frame's or the view's is empty or absurd.
[[nodiscard]] PixelSize decodedSize(const Frame& frame, const PictureRequest& request);

/// Decodes a frame for a view. JPEG is scaled by eighths while it is decoded, raw pictures are averaged down
/// by a whole factor; what is left to the view's size is interpolated. The picture is upright, then mirrored
/// if that is asked for. Nothing when the frame is damaged, absurd or of no size. Thread-safe.
[[nodiscard]] std::optional<DecodedPicture> decodeForView(const Frame& frame, const PictureRequest& request,
                                                          PixelBufferPool& pool);

}  // namespace picture
