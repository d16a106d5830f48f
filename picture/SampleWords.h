#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "picture/PixelLayout.h"

namespace picture {

/// The word of two bytes at `from`.
inline std::uint16_t wordAt(const std::uint8_t* from, bool isBigEndian) noexcept {
  return static_cast<std::uint16_t>(isBigEndian ? from[0] << 8 | from[1] : from[0] | from[1] << 8);
}

/// Reads `count` samples of more than eight bits, the first at `from`, a `step` of bytes apart. `out` gets
/// the upper `bits` bits of each.
template <typename Sample>
void readWords(const std::uint8_t* from, std::size_t step, std::size_t count, const PixelLayout& layout,
               int bits, Sample* out) noexcept {
  const int shift = layout.word.shift + layout.bits - bits;
  const int mask = (1 << bits) - 1;
  const auto read = [=](auto isBigEndian) {
    const std::uint8_t* at = from;
    for (std::size_t i = 0; i < count; ++i, at += step)
      out[i] = static_cast<Sample>(wordAt(at, isBigEndian) >> shift & mask);
  };
  // Two loops, so that neither asks that for each sample.
  layout.word.isBigEndian ? read(std::true_type()) : read(std::false_type());
}

}  // namespace picture
