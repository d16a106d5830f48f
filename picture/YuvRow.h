#pragma once

#include <cstddef>
#include <cstdint>

#include "picture/Frame.h"

namespace picture {

/// Colour difference on its way to the luma's places is kept in eighths of a level: interpolating across and
/// down then rounds nothing.
inline constexpr int kChromaFractionBits = 3;

/// Weights of red and blue in luma; green has the rest.
struct LumaWeights {
  double red;
  double blue;
};
[[nodiscard]] LumaWeights lumaWeights(ColorMatrix matrix) noexcept;

/// Integer coefficients of a conversion from Y'CbCr to R'G'B', exact to well below one level.
class YuvMatrix {
 public:
  /// `range` must be stated; `bits` are a sample's, at least 8.
  YuvMatrix(ColorMatrix matrix, ColorRange range, int bits = 8) noexcept;

  /// So many bits of each sample are converted: all of them, but no more than twelve.
  [[nodiscard]] int bits() const noexcept { return bits_; }

  /// Converts a row of `width` pixels of 8 bits; chroma comes at full width, in eighths.
  void convert(const std::uint8_t* luma, const std::uint16_t* blueChroma, const std::uint16_t* redChroma,
               std::size_t width, std::uint8_t* red, std::uint8_t* green, std::uint8_t* blue) const noexcept;
  /// The same of more.
  void convert(const std::uint16_t* luma, const std::uint16_t* blueChroma, const std::uint16_t* redChroma,
               std::size_t width, std::uint8_t* red, std::uint8_t* green, std::uint8_t* blue) const noexcept;

 private:
  template <int kBits, typename Luma>
  void convertRow(const Luma* luma, const std::uint16_t* blueChroma, const std::uint16_t* redChroma,
                  std::size_t width, std::uint8_t* red, std::uint8_t* green,
                  std::uint8_t* blue) const noexcept;

  int bits_;
  std::int16_t lumaOffset_;
  std::int16_t luma_;
  std::int16_t redFromRed_;
  std::int16_t greenFromBlue_;
  std::int16_t greenFromRed_;
  std::int16_t blueFromBlue_;
};

/// Interpolates between two chroma rows for a luma row that lies a quarter of their distance away from
/// `near`; with the same row twice it only scales. Result in quarters of a level.
void blendChroma(const std::uint8_t* near, const std::uint8_t* far, std::size_t count,
                 std::uint16_t* quarters) noexcept;
void blendChroma(const std::uint16_t* near, const std::uint16_t* far, std::size_t count,
                 std::uint16_t* quarters) noexcept;

/// Widens a chroma row of (width + 1) / 2 samples in quarters to `width` in eighths: samples lie on the even
/// pixels, odd ones are interpolated.
void widenChroma(const std::uint16_t* quarters, std::size_t width, std::uint16_t* eighths) noexcept;

/// A chroma row that is as wide as luma, from quarters to eighths.
void scaleChroma(const std::uint16_t* quarters, std::size_t width, std::uint16_t* eighths) noexcept;

}  // namespace picture
