#pragma once

#include <algorithm>
#include <bit>
#include <cstdint>
#include <span>

#include "picture/ByteVector.h"

namespace picture {

/// Bytes that equal the one before them, looked at so many in one step: one bit each, the first byte's least
/// significant.
inline constexpr std::size_t kRepetitionWindow = 64;

/// Of the window at `at`, which has a byte before it.
inline std::uint64_t repetitions(const std::uint8_t* at) {
  std::uint64_t bits = 0;
  for (std::size_t i = 0; i < kRepetitionWindow; i += kByteVectorSize) {
    bits |= static_cast<std::uint64_t>(bitsOf(equalMask(load(at + i), load(at + i - 1)))) << i;
  }
  return bits;
}

/// Of those of the bytes from `at` on that there are, one by one; the very first one has no left neighbour.
inline std::uint64_t repetitionsAtEdge(std::span<const std::uint8_t> data, std::size_t at) {
  std::uint64_t bits = 0;
  for (std::size_t i = std::max<std::size_t>(at, 1); i < std::min(at + kRepetitionWindow, data.size()); ++i)
    bits |= static_cast<std::uint64_t>(data[i] == data[i - 1]) << (i - at);
  return bits;
}

/// `bits` with what follows them moved in from the other end.
inline std::uint64_t shiftedDown(std::uint64_t bits, std::uint64_t following, unsigned count) {
  return bits >> count | following << (kRepetitionWindow - count);
}
inline std::uint64_t shiftedUp(std::uint64_t bits, std::uint64_t preceding, unsigned count) {
  return bits << count | preceding >> (kRepetitionWindow - count);
}

/// Of a window's bytes, those that begin two pixels of three equal bytes each, and differ from the byte
/// before.
inline std::uint64_t pixelPairs(std::uint64_t repeated, std::uint64_t following) {
  const std::uint64_t first = shiftedDown(repeated, following, 1) & shiftedDown(repeated, following, 2);
  const std::uint64_t second = shiftedDown(repeated, following, 4) & shiftedDown(repeated, following, 5);
  return ~repeated & first & second;
}

/// The `count` lowest bits.
constexpr std::uint64_t lowBits(std::size_t count) {
  return count < kRepetitionWindow ? (std::uint64_t{1} << count) - 1 : ~std::uint64_t{0};
}

/// Sets `length` bits from `from` on. There is a word behind those that they lie in.
inline void setBits(std::uint64_t* words, std::size_t from, std::size_t length) {
  words += from / kRepetitionWindow;
  from %= kRepetitionWindow;
  const std::uint64_t first = lowBits(length);
  words[0] |= first << from;
  words[1] |= first >> 1 >> (kRepetitionWindow - 1 - from);
  if (length > kRepetitionWindow) setBits(words + 1, from, length - kRepetitionWindow);
}

inline unsigned countOf(std::uint64_t bits) {
  // By halves of halves: the instruction for it is not on every machine, and the compilers call a function
  // then.
  bits -= bits >> 1 & 0x5555555555555555;
  bits = (bits & 0x3333333333333333) + (bits >> 2 & 0x3333333333333333);
  bits = (bits + (bits >> 4)) & 0x0F0F0F0F0F0F0F0F;
  return static_cast<unsigned>(bits * 0x0101010101010101 >> 56);
}

}  // namespace picture
