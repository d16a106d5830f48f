#pragma once

#include <cstdint>
#include <vector>

namespace picture {

/// Deflate's limits on a match (RFC 1951, 3.2.5).
inline constexpr std::size_t kShortestMatch = 3;
inline constexpr std::size_t kLongestMatch = 258;
inline constexpr std::size_t kLargestDistance = 32768;

/// A stretch of bytes as they are, followed by a repetition of earlier ones. A length of 0 stands for no
/// repetition.
struct DeflateToken {
  std::uint32_t literals;
  std::uint16_t length;
  std::uint16_t distance;
};

/// A repetition alone, at its place.
struct Match {
  std::uint32_t position;
  std::uint16_t length;
  std::uint16_t distance;
};

/// Tokens that together make up a stretch of bytes.
using DeflateTokens = std::vector<DeflateToken>;

}  // namespace picture
