#pragma once

#include <array>
#include <bit>
#include <cstdint>

#include "picture/png/DeflateToken.h"

namespace picture {

/// Symbols of deflate's alphabets (RFC 1951, 3.2.5): literals come first, 0 to 255.
inline constexpr std::size_t kLiteralSymbols = 286;
inline constexpr std::size_t kDistanceSymbols = 30;
inline constexpr std::uint32_t kEndOfBlock = 256;
inline constexpr std::uint32_t kFirstLengthSymbol = 257;

/// A match's length or distance as a symbol with extra bits. Both alphabets double their steps every few
/// symbols.
struct DeflateSymbol {
  std::uint8_t symbol;
  std::uint8_t extraBits;
  std::uint16_t base;  ///< what the extra bits are added to, counted from the alphabet's first value
};

/// Values from 0 up: 2^linearLog2 symbols of step one, then groups of half as many with doubling steps.
[[nodiscard]] constexpr DeflateSymbol steppedSymbol(std::uint32_t value, std::uint32_t linearLog2) {
  const std::uint32_t linear = 1U << linearLog2;
  // Of the values below `linear` the largest decides, so that they need no question of their own.
  const std::uint32_t extraBits =
      static_cast<std::uint32_t>(std::bit_width(value | (linear - 1))) - linearLog2;
  const std::uint32_t mantissa = value >> extraBits;  // from linear / 2 to linear - 1, or below it
  return {static_cast<std::uint8_t>(extraBits * (linear / 2) + mantissa),
          static_cast<std::uint8_t>(extraBits), static_cast<std::uint16_t>(mantissa << extraBits)};
}

constexpr std::array<DeflateSymbol, kLongestMatch + 1> makeLengthSymbols() {
  std::array<DeflateSymbol, kLongestMatch + 1> symbols{};
  for (std::uint32_t length = kShortestMatch; length < kLongestMatch; ++length) {
    symbols[length] = steppedSymbol(length - kShortestMatch, 3);
  }
  symbols[kLongestMatch] = {28, 0, kLongestMatch - kShortestMatch};  // the longest has a symbol of its own
  return symbols;
}

/// By a match's length.
inline constexpr auto kLengthSymbols = makeLengthSymbols();
static_assert(kLengthSymbols[11].symbol == 8 && kLengthSymbols[12].base == 8 &&
              kLengthSymbols[257].symbol == 27);

[[nodiscard]] constexpr DeflateSymbol distanceSymbol(std::uint32_t distance) {
  return steppedSymbol(distance - 1, 2);
}
static_assert(distanceSymbol(1).symbol == 0 && distanceSymbol(4).symbol == 3 &&
              distanceSymbol(4).extraBits == 0 && distanceSymbol(5).symbol == 4 &&
              distanceSymbol(5).extraBits == 1 && distanceSymbol(32768).symbol == 29);

}  // namespace picture
