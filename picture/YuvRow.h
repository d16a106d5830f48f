#pragma once

#include <cstddef>
#include <cstdint>

#include "picture/RawPicture.h"

namespace picture {

/// Integer coefficients of a conversion from Y'CbCr to R'G'B' (ITU-R BT.601 and BT.709), exact to well below
/// one level.
class YuvMatrix {
 public:
  YuvMatrix(ColorMatrix matrix, ColorRange range) noexcept;

  /// Converts a row of `width` pixels; chroma comes at full width.
  void convert(const std::uint8_t* luma, const std::uint8_t* blueChroma, const std::uint8_t* redChroma,
               std::size_t width, std::uint8_t* red, std::uint8_t* green, std::uint8_t* blue) const noexcept;

 private:
  std::int16_t lumaOffset_;
  std::int16_t luma_;
  std::int16_t redFromRed_;
  std::int16_t greenFromBlue_;
  std::int16_t greenFromRed_;
  std::int16_t blueFromBlue_;
};

/// Widens a chroma row of (width + 1) / 2 samples to `width`: samples lie on the even pixels, odd ones are
/// interpolated.
void widenChroma(const std::uint8_t* half, std::size_t width, std::uint8_t* full) noexcept;

/// Interpolates between two chroma rows for a luma row that lies a quarter of their distance away from
/// `near`.
void blendChroma(const std::uint8_t* near, const std::uint8_t* far, std::size_t count,
                 std::uint8_t* out) noexcept;

}  // namespace picture
