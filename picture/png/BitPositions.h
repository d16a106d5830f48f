#pragma once

#include <cstdint>
#include <span>

namespace picture {

/// So many more than there are may be written behind the positions.
inline constexpr std::size_t kPositionsSlack = 64;

/// Writes the positions of all bits set in `words`, the first word's least significant being 0, in ascending
/// order to `positions`; answers their end.
std::uint32_t* listPositions(std::span<const std::uint64_t> words, std::uint32_t* positions) noexcept;
/// The same by instructions that every processor has; the other one uses faster ones where they exist.
std::uint32_t* listPositionsPortably(std::span<const std::uint64_t> words, std::uint32_t* positions) noexcept;

}  // namespace picture
