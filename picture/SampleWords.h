#pragma once

#include <cstddef>
#include <cstdint>

#include "picture/PixelLayout.h"

namespace picture {

/// The word of two bytes at `from`.
inline std::uint16_t wordAt(const std::uint8_t* from, bool isBigEndian) noexcept {
  return static_cast<std::uint16_t>(isBigEndian ? from[0] << 8 | from[1] : from[0] | from[1] << 8);
}

/// The word of four bytes at `from`.
inline std::uint32_t longWordAt(const std::uint8_t* from, bool isBigEndian) noexcept {
  const std::uint32_t first = wordAt(from, isBigEndian);
  const std::uint32_t second = wordAt(from + 2, isBigEndian);
  return isBigEndian ? first << 16 | second : first | second << 16;
}

/// Reads `count` samples of more than eight bits: those of `component` in a row of its plane. `out` gets the
/// upper `bits` bits of each.
template <typename Sample>
void readSamples(const std::uint8_t* row, const PixelLayout::Component& component, std::size_t count,
                 const PixelLayout& layout, int bits, Sample* out) noexcept {
  const int shift = layout.word.shift + layout.bits - bits;
  const unsigned mask = (1U << bits) - 1;
  // A loop for each way, so that none is asked for at each sample.
  const auto read = [=](auto sampleAt) {
    std::size_t at = component.offset;
    for (std::size_t i = 0; i < count; ++i, at += component.step)
      out[i] = static_cast<Sample>(sampleAt(at) >> shift & mask);
  };
  constexpr unsigned kTen = 10;
  switch (layout.word.packing) {
    case PixelLayout::Packing::Words:
      return layout.word.isBigEndian
                 ? read([row](std::size_t at) -> unsigned { return wordAt(row + at, true); })
                 : read([row](std::size_t at) -> unsigned { return wordAt(row + at, false); });
    case PixelLayout::Packing::Threes:
      return read([row](std::size_t at) { return longWordAt(row + at / 3 * 4, false) >> (at % 3 * kTen); });
    case PixelLayout::Packing::String:
      return read([row](std::size_t at) -> unsigned {
        const std::size_t bit = at * kTen;
        return wordAt(row + bit / 8, true) >> (16 - kTen - bit % 8);
      });
  }
}

}  // namespace picture
