#pragma once

#include <cstdint>

namespace picture {

struct PixelSize {
  int width = 0;
  int height = 0;

  bool operator==(const PixelSize&) const = default;
};

/// The largest picture that is read or written, in pixels each way and in all. Both are far above any
/// camera's and keep every product of sizes within 32 bits.
inline constexpr std::uint32_t kMaximumPictureSide = 32767;
inline constexpr std::uint64_t kMaximumPicturePixels = 100'000'000;

/// True when a picture of this size is neither empty nor beyond the limits above.
[[nodiscard]] constexpr bool isAcceptablePictureSize(std::uint64_t width, std::uint64_t height) noexcept {
  return width > 0 && height > 0 && width <= kMaximumPictureSide && height <= kMaximumPictureSide &&
         width * height <= kMaximumPicturePixels;
}
/// Negative sides are not acceptable either.
[[nodiscard]] constexpr bool isAcceptablePictureSize(PixelSize size) noexcept {
  return size.width > 0 && size.height > 0 &&
         isAcceptablePictureSize(static_cast<std::uint64_t>(size.width),
                                 static_cast<std::uint64_t>(size.height));
}

}  // namespace picture
