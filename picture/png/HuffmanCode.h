#pragma once

#include <array>
#include <cstdint>
#include <span>

namespace picture {

/// The most symbols that any of deflate's alphabets has.
inline constexpr std::size_t kMaximumSymbols = 288;

/// Code lengths of a Huffman code for `frequencies`, none longer than `maximumLength` (at most 15). Symbols
/// that do not occur get length 0, but at least two symbols always get a code, because decoders want a
/// complete one.
void buildCodeLengths(std::span<const std::uint32_t> frequencies, unsigned maximumLength,
                      std::span<std::uint8_t> lengths) noexcept;

/// The canonical code of deflate (RFC 1951, 3.2.2) for `lengths`, each code with its first bit least
/// significant, as the stream wants it.
void buildCodes(std::span<const std::uint8_t> lengths, std::span<std::uint16_t> codes) noexcept;

/// A symbol's code and its length in bits, side by side for the inner loop.
struct Code {
  std::uint16_t bits;
  std::uint16_t length;
};

/// The codes of all symbols of an alphabet.
template <std::size_t count>
[[nodiscard]] std::array<Code, count> codesFor(const std::array<std::uint8_t, count>& lengths) noexcept {
  std::array<std::uint16_t, count> bits{};
  buildCodes(lengths, bits);
  std::array<Code, count> codes{};
  for (std::size_t i = 0; i < count; ++i)
    codes[i] = {bits[i], lengths[i]};
  return codes;
}

}  // namespace picture
