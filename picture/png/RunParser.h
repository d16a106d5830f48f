#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "picture/png/DeflateToken.h"

namespace picture {

/// Divides bytes into literals and repetitions of one byte (matches at distance 1), the fast way: in
/// photographs there is next to nothing else to find. One thread at a time.
class RunParser {
 public:
  /// Makes room for up to `bytes` bytes; nothing is allocated later. Throws std::bad_alloc.
  explicit RunParser(std::size_t bytes);

  /// Replaces what is in `tokens`, which has room for a token every three bytes.
  void parse(std::span<const std::uint8_t> data, DeflateTokens& tokens);

 private:
  // Where runs begin and end, in turn.
  [[nodiscard]] std::span<const std::uint32_t> findBounds(std::span<const std::uint8_t> data) noexcept;

  std::vector<std::uint32_t> bounds_;
};

/// The part of the bytes, 0 to 1, that equal the one before them, in runs or not; by a sample.
[[nodiscard]] double estimateRepetitions(std::span<const std::uint8_t> data);

}  // namespace picture
