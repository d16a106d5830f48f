#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <utility>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace picture {

inline constexpr std::size_t kByteVectorSize = 16;

/// Sixteen bytes that are worked on at once. The compilers' portable vector type rather than a library or
/// intrinsics: it becomes SSE2 on every x86-64 and NEON on every arm64 machine, and is correct anywhere else.
using ByteVector [[gnu::vector_size(kByteVectorSize)]] = std::uint8_t;

/// Twice as many, for code that is compiled for processors that have AVX2, and four times as many, for
/// AVX-512. Elsewhere they become several of the first. They never cross a call: everything here is part of
/// its caller.
using WideByteVector [[gnu::vector_size(2 * kByteVectorSize)]] = std::uint8_t;
using WidestByteVector [[gnu::vector_size(4 * kByteVectorSize)]] = std::uint8_t;

template <typename Vector = ByteVector>
[[gnu::always_inline]] inline Vector load(const std::uint8_t* from) noexcept {
  Vector vector;
  std::memcpy(&vector, from, sizeof vector);
  return vector;
}

template <typename Vector>
[[gnu::always_inline]] inline void store(Vector vector, std::uint8_t* to) noexcept {
  std::memcpy(to, &vector, sizeof vector);
}

template <typename Vector>
[[gnu::always_inline]] inline Vector smaller(Vector a, Vector b) noexcept {
  return a < b ? a : b;
}
template <typename Vector>
[[gnu::always_inline]] inline Vector larger(Vector a, Vector b) noexcept {
  return a > b ? a : b;
}
template <typename Vector>
[[gnu::always_inline]] inline Vector distance(Vector a, Vector b) noexcept {
  return larger(a, b) - smaller(a, b);
}

/// `here` moved up by one byte; the last one of `before` becomes the first.
template <typename Vector>
[[gnu::always_inline]] inline Vector movedUp(Vector before, Vector here) noexcept {
  return [=]<std::size_t... i>(std::index_sequence<i...>) __attribute__((always_inline)) {
    return __builtin_shufflevector(before, here, (i + sizeof(Vector) - 1)...);
  }
  (std::make_index_sequence<sizeof(Vector)>());
}

template <typename Vector>
[[gnu::always_inline]] inline std::uint32_t sumOf(Vector vector) noexcept {
  std::uint32_t sum = 0;
  for (std::size_t lane = 0; lane < sizeof(Vector); ++lane)
    sum += vector[lane];
  return sum;
}

/// All bits of a byte set where `a` and `b` agree, else none.
template <typename Vector>
[[gnu::always_inline]] inline Vector equalMask(Vector a, Vector b) noexcept {
  return reinterpret_cast<Vector>(a == b);
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
