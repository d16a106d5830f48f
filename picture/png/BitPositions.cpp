#include "picture/png/BitPositions.h"

#include <array>
#include <bit>

#include "picture/png/Avx512.h"
#include "picture/png/RepetitionBits.h"

namespace picture {
namespace {

// Positions are taken from a word some at a time, whether or not there are so many: nothing tells how many
// there will be, and a wrong guess of the processor's takes longer than some positions for nothing.
constexpr std::size_t kAtOnce = 8;

std::uint32_t* appendPositions(std::uint64_t bits, std::size_t base, std::uint32_t* positions) {
  std::uint32_t* const end = positions + countOf(bits);
  do {
    for (std::size_t i = 0; i < kAtOnce; ++i) {
      positions[i] = static_cast<std::uint32_t>(base + static_cast<std::size_t>(std::countr_zero(bits)));
      bits &= bits - 1;
    }
    positions += kAtOnce;
  } while (bits != 0);
  return end;
}

#ifdef __x86_64__
constexpr std::size_t kWordBits = 64;

constexpr std::array<std::uint8_t, kWordBits> makeBytesInOrder() {
  std::array<std::uint8_t, kWordBits> bytes{};
  for (std::size_t i = 0; i < bytes.size(); ++i)
    bytes[i] = static_cast<std::uint8_t>(i);
  return bytes;
}
alignas(kWordBits) constexpr auto kBytesInOrder = makeBytesInOrder();

CAMERA_SHOT_FOR_AVX512 [[gnu::always_inline]] inline void storeSixteen(__m128i offsets, __m512i base,
                                                                       std::uint32_t* to) {
  _mm512_storeu_si512(to, _mm512_add_epi32(base, _mm512_cvtepu8_epi32(offsets)));
}

// A word's positions are bytes that its bits let through, hardly ever more than sixteen.
CAMERA_SHOT_FOR_AVX512 std::uint32_t* listPositionsByAvx512(std::span<const std::uint64_t> words,
                                                            std::uint32_t* positions) noexcept {
  const __m512i inOrder = _mm512_load_si512(kBytesInOrder.data());
  __m512i base = _mm512_setzero_si512();
  for (const std::uint64_t word : words) {
    const __m512i offsets = _mm512_maskz_compress_epi8(word, inOrder);
    storeSixteen(_mm512_castsi512_si128(offsets), base, positions);
    const auto count = static_cast<std::size_t>(_mm_popcnt_u64(word));
    if (count > 16) [[unlikely]] {
      storeSixteen(_mm512_extracti32x4_epi32(offsets, 1), base, positions + 16);
      storeSixteen(_mm512_extracti32x4_epi32(offsets, 2), base, positions + 32);
      storeSixteen(_mm512_extracti32x4_epi32(offsets, 3), base, positions + 48);
    }
    positions += count;
    base = _mm512_add_epi32(base, _mm512_set1_epi32(kWordBits));
  }
  return positions;
}
#endif

}  // namespace

std::uint32_t* listPositionsPortably(std::span<const std::uint64_t> words,
                                     std::uint32_t* positions) noexcept {
  for (std::size_t word = 0; word < words.size(); ++word)
    positions = appendPositions(words[word], word * kRepetitionWindow, positions);
  return positions;
}

std::uint32_t* listPositions(std::span<const std::uint64_t> words, std::uint32_t* positions) noexcept {
#ifdef __x86_64__
  if (hasAvx512()) return listPositionsByAvx512(words, positions);
#endif
  return listPositionsPortably(words, positions);
}

}  // namespace picture
