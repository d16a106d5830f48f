#pragma once

#include <array>
#include <cstdint>
#include <span>

#include "picture/png/DeflateToken.h"

namespace picture {

/// How often each byte value occurs.
using Histogram = std::array<std::uint32_t, 256>;

/// How often each byte of `data` stands as a literal, as `tokens` divide it; `matched` has a bit for each
/// byte, set for those within matches, as RepetitionBits.h has it. Where there are many literals the
/// frequencies of the usual ones come from a sample, so that codes are planned in a fraction of the time;
/// each that occurs has a frequency of at least one.
[[nodiscard]] Histogram literalHistogram(std::span<const std::uint8_t> data,
                                         std::span<const DeflateToken> tokens,
                                         std::span<const std::uint64_t> matched) noexcept;
/// The same by instructions that every processor has; the other one uses faster ones where they exist.
[[nodiscard]] Histogram literalHistogramPortably(std::span<const std::uint8_t> data,
                                                 std::span<const DeflateToken> tokens,
                                                 std::span<const std::uint64_t> matched) noexcept;

}  // namespace picture
