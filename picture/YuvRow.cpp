#include "picture/YuvRow.h"

#include <algorithm>
#include <cmath>

namespace picture {
namespace {

// Coefficients are kept times 2^13: the largest, 2.11, still fits into 16 bits, which is what machines
// multiply fast.
constexpr int kFractionBits = 13;
constexpr std::int32_t kHalf = 1 << (kFractionBits - 1);
constexpr std::int16_t kChromaOffset = 128;

std::int16_t fixedPoint(double value) {
  return static_cast<std::int16_t>(std::lround(value * (1 << kFractionBits)));
}

std::uint8_t toLevel(std::int32_t value) {
  return static_cast<std::uint8_t>(std::clamp((value + kHalf) >> kFractionBits, 0, 255));
}

}  // namespace

YuvMatrix::YuvMatrix(ColorMatrix matrix, ColorRange range) noexcept {
  const bool bt709 = matrix == ColorMatrix::BT709;
  const double redWeight = bt709 ? 0.2126 : 0.299;
  const double blueWeight = bt709 ? 0.0722 : 0.114;
  const double greenWeight = 1 - redWeight - blueWeight;
  const bool full = range == ColorRange::Full;
  const double lumaScale = full ? 1 : 255.0 / 219;
  const double chromaScale = full ? 1 : 255.0 / 224;
  lumaOffset_ = full ? 0 : 16;
  luma_ = fixedPoint(lumaScale);
  redFromRed_ = fixedPoint(chromaScale * 2 * (1 - redWeight));
  blueFromBlue_ = fixedPoint(chromaScale * 2 * (1 - blueWeight));
  greenFromRed_ = fixedPoint(-chromaScale * 2 * (1 - redWeight) * redWeight / greenWeight);
  greenFromBlue_ = fixedPoint(-chromaScale * 2 * (1 - blueWeight) * blueWeight / greenWeight);
}

void YuvMatrix::convert(const std::uint8_t* luma, const std::uint8_t* blueChroma,
                        const std::uint8_t* redChroma, std::size_t width, std::uint8_t* red,
                        std::uint8_t* green, std::uint8_t* blue) const noexcept {
  const YuvMatrix matrix = *this;  // the compiler cannot tell that stores leave the members alone
  for (std::size_t i = 0; i < width; ++i) {
    const auto y = static_cast<std::int16_t>(luma[i] - matrix.lumaOffset_);
    const auto cb = static_cast<std::int16_t>(blueChroma[i] - kChromaOffset);
    const auto cr = static_cast<std::int16_t>(redChroma[i] - kChromaOffset);
    const std::int32_t scaled = y * matrix.luma_;
    red[i] = toLevel(scaled + cr * matrix.redFromRed_);
    green[i] = toLevel(scaled + cb * matrix.greenFromBlue_ + cr * matrix.greenFromRed_);
    blue[i] = toLevel(scaled + cb * matrix.blueFromBlue_);
  }
}

void widenChroma(const std::uint8_t* half, std::size_t width, std::uint8_t* full) noexcept {
  const std::size_t pairs = (width - 1) / 2;  // with a sample to the right
  for (std::size_t i = 0; i < pairs; ++i) {
    full[2 * i] = half[i];
    full[2 * i + 1] = static_cast<std::uint8_t>((half[i] + half[i + 1] + 1) / 2);
  }
  for (std::size_t i = 2 * pairs; i < width; ++i)
    full[i] = half[pairs];
}

void blendChroma(const std::uint8_t* near, const std::uint8_t* far, std::size_t count,
                 std::uint8_t* out) noexcept {
  for (std::size_t i = 0; i < count; ++i)
    out[i] = static_cast<std::uint8_t>((3 * near[i] + far[i] + 2) / 4);
}

}  // namespace picture
