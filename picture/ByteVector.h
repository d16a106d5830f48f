#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace picture {

inline constexpr std::size_t kByteVectorSize = 16;

/// Sixteen bytes that are worked on at once. The compilers' portable vector type rather than a library or
/// intrinsics: it becomes SSE2 on every x86-64 and NEON on every arm64 machine, and is correct anywhere else.
using ByteVector [[gnu::vector_size(kByteVectorSize)]] = std::uint8_t;

inline ByteVector load(const std::uint8_t* from) noexcept {
  ByteVector vector;
  std::memcpy(&vector, from, sizeof vector);
  return vector;
}

inline void store(ByteVector vector, std::uint8_t* to) noexcept {
  std::memcpy(to, &vector, sizeof vector);
}

inline ByteVector smaller(ByteVector a, ByteVector b) noexcept {
  return a < b ? a : b;
}
inline ByteVector larger(ByteVector a, ByteVector b) noexcept {
  return a > b ? a : b;
}
inline ByteVector distance(ByteVector a, ByteVector b) noexcept {
  return larger(a, b) - smaller(a, b);
}

/// All bits of a byte set where `a` and `b` agree, else none.
inline ByteVector equalMask(ByteVector a, ByteVector b) noexcept {
  return reinterpret_cast<ByteVector>(a == b);
}

/// One bit for each byte, the first byte's least significant, from a mask as `equalMask` makes it.
inline std::uint32_t bitsOf(ByteVector mask) noexcept {
#ifdef __SSE2__
  // One instruction, and no way to say it portably.
  return static_cast<std::uint32_t>(_mm_movemask_epi8(std::bit_cast<__m128i>(mask)));
#else
  constexpr ByteVector kWeights = {1, 2, 4, 8, 16, 32, 64, 128, 1, 2, 4, 8, 16, 32, 64, 128};
  constexpr std::uint64_t kSumOfBytes = 0x0101010101010101;  // the product's top byte
  const auto halves = std::bit_cast<std::array<std::uint64_t, 2>>(mask & kWeights);
  return static_cast<std::uint32_t>(halves[0] * kSumOfBytes >> 56 | (halves[1] * kSumOfBytes >> 56) << 8);
#endif
}

}  // namespace picture
