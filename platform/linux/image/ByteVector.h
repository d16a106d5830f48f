#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace platform_linux {

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

}  // namespace platform_linux
