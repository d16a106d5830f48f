#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "platform/linux/image/DeflateToken.h"

namespace platform_linux {

/// Divides bytes into literals and matches by searching chains of earlier places with the same three bytes,
/// for drawn, flat and grey pictures, where photographs' short way leaves much to gain. Matches stay within
/// the bytes given, so that pieces can be coded independently.
class MatchParser {
 public:
  MatchParser();

  /// Replaces what is in `tokens`. `data` is at most kMaximumBytes long.
  void parse(std::span<const std::uint8_t> data, DeflateTokens& tokens);

  static constexpr std::size_t kMaximumBytes = std::size_t{1} << 24;

 private:
  struct Match {
    std::size_t length = 0;
    std::size_t distance = 0;
  };

  void insert(std::size_t position) noexcept;
  [[nodiscard]] Match longestMatch(std::size_t position, std::size_t atLeast) const noexcept;

  std::span<const std::uint8_t> data_;
  std::vector<std::uint32_t> newest_;  // by hash, the newest position + 1; 0 for none
  std::vector<std::uint32_t> older_;  // by position in the window, the next older position + 1 with that hash
};

}  // namespace platform_linux
