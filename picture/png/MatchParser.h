#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "picture/png/DeflateToken.h"

namespace picture {

/// Divides bytes into literals and long matches, found by searching earlier places with
/// the same beginning: for clean or grey photographs, whose bytes cost little as literals. Matches stay
/// within the bytes given, so that pieces can be coded independently.
class MatchParser {
 public:
  /// Throws std::bad_alloc; nothing is allocated later.
  MatchParser();

  /// Replaces what is in `tokens`.
  void parse(std::span<const std::uint8_t> data, DeflateTokens& tokens);

 private:
  struct Match {
    std::size_t length = 0;
    std::size_t distance = 0;
  };

  [[nodiscard]] Match findAt(std::size_t position) const noexcept;
  void insert(std::size_t position) noexcept;

  std::span<const std::uint8_t> data_;
  std::vector<std::uint32_t> newest_;  // by hash, the newest position + 1; 0 for none
  std::vector<std::uint32_t> older_;  // by position in the window, the next older position + 1 with that hash
};

}  // namespace picture
