#include "picture/YuvRow.h"

#include <algorithm>
#include <cmath>

namespace picture {
namespace {

// Coefficients are kept times 2^13: the largest, 2.14, still fits into 16 bits, which is what machines
// multiply fast.
constexpr int kFractionBits = 13;

// Twelve bits in eighths, which are sixteen bits with a sign.
constexpr int kMostBits = 12;

std::int16_t fixedPoint(double value) {
  return static_cast<std::int16_t>(std::lround(value * (1 << kFractionBits)));
}

template <typename Sample>
void blend(const Sample* near, const Sample* far, std::size_t count, std::uint16_t* quarters) {
  for (std::size_t i = 0; i < count; ++i)
    quarters[i] = static_cast<std::uint16_t>(3 * near[i] + far[i]);
}

}  // namespace

// ITU-T H.273, table 4; FCC is Title 47 of 2003, 73.682.
LumaWeights lumaWeights(ColorMatrix matrix) noexcept {
  switch (matrix) {
    case ColorMatrix::BT709:
      return {0.2126, 0.0722};
    case ColorMatrix::BT2020:
      return {0.2627, 0.0593};
    case ColorMatrix::FCC:
      return {0.30, 0.11};
    case ColorMatrix::SMPTE240M:
      return {0.212, 0.087};
    case ColorMatrix::BT601:
      break;
  }
  return {0.299, 0.114};
}

YuvMatrix::YuvMatrix(ColorMatrix matrix, ColorRange range, int bits) noexcept
    : bits_(std::min(bits, kMostBits)) {
  const auto [redWeight, blueWeight] = lumaWeights(matrix);
  const double greenWeight = 1 - redWeight - blueWeight;
  const bool full = range == ColorRange::Full;
  // The studio range of more bits is that of 8 bits times a power of two, the full range is not.
  const double fullScale = 255.0 * (1 << (bits_ - 8)) / ((1 << bits_) - 1);
  const double lumaScale = full ? fullScale : 255.0 / 219;
  const double chromaScale = full ? fullScale : 255.0 / 224;
  lumaOffset_ = static_cast<std::int16_t>((full ? 0 : 16) << (bits_ - 8 + kChromaFractionBits));
  luma_ = fixedPoint(lumaScale);
  redFromRed_ = fixedPoint(chromaScale * 2 * (1 - redWeight));
  blueFromBlue_ = fixedPoint(chromaScale * 2 * (1 - blueWeight));
  greenFromRed_ = fixedPoint(-chromaScale * 2 * (1 - redWeight) * redWeight / greenWeight);
  greenFromBlue_ = fixedPoint(-chromaScale * 2 * (1 - blueWeight) * blueWeight / greenWeight);
}

// The rows that are written overlap no other: compilers, which would have to test each pair of rows for that,
// use vectors only when they are told.
template <int kBits, typename Luma>
void YuvMatrix::convertRow(const Luma* luma, const std::uint16_t* blueChroma, const std::uint16_t* redChroma,
                           std::size_t width, std::uint8_t* __restrict red, std::uint8_t* __restrict green,
                           std::uint8_t* __restrict blue) const noexcept {
  constexpr int kShift = kFractionBits + kChromaFractionBits + kBits - 8;
  constexpr std::int32_t kHalf = 1 << (kShift - 1);
  constexpr int kChromaOffset = 128 << (kBits - 8 + kChromaFractionBits);
  const auto toLevel = [](std::int32_t value) {
    return static_cast<std::uint8_t>(std::clamp((value + kHalf) >> kShift, 0, 255));
  };
  const YuvMatrix matrix = *this;  // the compiler cannot tell that stores leave the members alone
  for (std::size_t i = 0; i < width; ++i) {
    const auto y = static_cast<std::int16_t>((luma[i] << kChromaFractionBits) - matrix.lumaOffset_);
    const auto cb = static_cast<std::int16_t>(blueChroma[i] - kChromaOffset);
    const auto cr = static_cast<std::int16_t>(redChroma[i] - kChromaOffset);
    const std::int32_t scaled = y * matrix.luma_;
    red[i] = toLevel(scaled + cr * matrix.redFromRed_);
    green[i] = toLevel(scaled + cb * matrix.greenFromBlue_ + cr * matrix.greenFromRed_);
    blue[i] = toLevel(scaled + cb * matrix.blueFromBlue_);
  }
}

void YuvMatrix::convert(const std::uint8_t* luma, const std::uint16_t* blueChroma,
                        const std::uint16_t* redChroma, std::size_t width, std::uint8_t* red,
                        std::uint8_t* green, std::uint8_t* blue) const noexcept {
  convertRow<8>(luma, blueChroma, redChroma, width, red, green, blue);
}

void YuvMatrix::convert(const std::uint16_t* luma, const std::uint16_t* blueChroma,
                        const std::uint16_t* redChroma, std::size_t width, std::uint8_t* red,
                        std::uint8_t* green, std::uint8_t* blue) const noexcept {
  bits_ == kMostBits ? convertRow<kMostBits>(luma, blueChroma, redChroma, width, red, green, blue)
                     : convertRow<10>(luma, blueChroma, redChroma, width, red, green, blue);
}

void blendChroma(const std::uint8_t* near, const std::uint8_t* far, std::size_t count,
                 std::uint16_t* quarters) noexcept {
  blend(near, far, count, quarters);
}

void blendChroma(const std::uint16_t* near, const std::uint16_t* far, std::size_t count,
                 std::uint16_t* quarters) noexcept {
  blend(near, far, count, quarters);
}

void widenChroma(const std::uint16_t* quarters, std::size_t width, std::uint16_t* eighths) noexcept {
  const std::size_t pairs = (width - 1) / 2;  // with a sample to the right
  for (std::size_t i = 0; i < pairs; ++i) {
    eighths[2 * i] = static_cast<std::uint16_t>(2 * quarters[i]);
    eighths[2 * i + 1] = static_cast<std::uint16_t>(quarters[i] + quarters[i + 1]);
  }
  for (std::size_t i = 2 * pairs; i < width; ++i)
    eighths[i] = static_cast<std::uint16_t>(2 * quarters[pairs]);
}

void scaleChroma(const std::uint16_t* quarters, std::size_t width, std::uint16_t* eighths) noexcept {
  for (std::size_t i = 0; i < width; ++i)
    eighths[i] = static_cast<std::uint16_t>(2 * quarters[i]);
}

}  // namespace picture
