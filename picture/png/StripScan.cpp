#include "picture/png/StripScan.h"

#include <algorithm>

#include "picture/CeilDivide.h"
#include "picture/png/Avx512.h"
#include "picture/png/RepetitionBits.h"

namespace picture {
namespace {

// The least repetitions that become a match; fewer cost more as a match than as literals in most photographs.
constexpr std::size_t kShortestRun = 5;

// Of the bits set, those that begin kShortestRun in a row.
std::uint64_t beginningRuns(std::uint64_t bits, std::uint64_t following) {
  static_assert(kShortestRun == 5);
  const std::uint64_t pairs = bits & shiftedDown(bits, following, 1);
  const std::uint64_t followingPairs = following & following >> 1;
  return pairs & shiftedDown(pairs, followingPairs, 2) & shiftedDown(bits, following, 4);
}

// All bits of the runs of which the beginning ones are given.
std::uint64_t wholeRuns(std::uint64_t beginning, std::uint64_t preceding) {
  const std::uint64_t pairs = beginning | shiftedUp(beginning, preceding, 1);
  const std::uint64_t precedingPairs = preceding | preceding << 1;
  return pairs | shiftedUp(pairs, precedingPairs, 2) | shiftedUp(beginning, preceding, 4);
}

// The sum of the bytes' distances from zero, of those that do not equal the one before them.
std::uint32_t sumOfChanges(const std::uint8_t* at) {
  std::uint32_t sum = 0;
  for (std::size_t i = 0; i < kRepetitionWindow; i += kByteVectorSize) {
    const ByteVector bytes = load(at + i);
    sum += sumOf(smaller(bytes, ByteVector{} - bytes) & ~equalMask(bytes, load(at + i - 1)));
  }
  return sum;
}

// The words in `words`, whose windows all have a byte before them and end within the data.
void findRepetitionsPortably(const std::uint8_t* data, std::span<std::uint64_t> words) {
  for (std::uint64_t& word : words) {
    word = repetitions(data);
    data += kRepetitionWindow;
  }
}

#ifdef __x86_64__
CAMERA_SHOT_FOR_AVX512 void findRepetitionsByAvx512(const std::uint8_t* data,
                                                    std::span<std::uint64_t> words) {
  for (std::uint64_t& word : words) {
    word = _mm512_cmpeq_epi8_mask(_mm512_loadu_si512(data), _mm512_loadu_si512(data - 1));
    data += kRepetitionWindow;
  }
}
#endif

void findRepetitions(const std::uint8_t* data, std::span<std::uint64_t> words) {
#ifdef __x86_64__
  if (hasAvx512()) return findRepetitionsByAvx512(data, words);
#endif
  findRepetitionsPortably(data, words);
}

}  // namespace

StripScan::StripScan(std::size_t bytes)
    : repetitions_(bytes / kRepetitionWindow + 4),
      runs_(bytes / kRepetitionWindow + 2),
      matched_(bytes / kRepetitionWindow + 2) {}

void StripScan::scan(std::span<const std::uint8_t> data) noexcept {
  words_ = ceilDivide(data.size(), kRepetitionWindow);
  if (words_ > 2) findRepetitions(data.data() + kRepetitionWindow, {&repetitions_[1], words_ - 2});
  if (words_ > 0) {
    repetitions_[0] = repetitionsAtEdge(data, 0);
    repetitions_[words_ - 1] = repetitionsAtEdge(data, (words_ - 1) * kRepetitionWindow);
  }
  repetitions_[words_] = repetitions_[words_ + 1] = 0;
  std::uint64_t before = 0;
  for (std::size_t word = 0; word < words_; ++word) {
    const std::uint64_t beginning = beginningRuns(repetitions_[word], repetitions_[word + 1]);
    runs_[word] = wholeRuns(beginning, before);
    before = beginning;
  }
}

void StripScan::cover(std::span<const Match> matches) noexcept {
  std::fill_n(matched_.begin(), words_, 0U);
  for (const Match& match : matches)
    setBits(matched_.data(), match.position, match.length);
  for (std::size_t word = 0; word < words_; ++word) {
    const std::uint64_t covered = matched_[word];
    matched_[word] |= runs_[word];
    runs_[word] &= ~covered;
  }
}

StripSample sampleStrip(std::span<const std::uint8_t> data) noexcept {
  constexpr std::size_t kSampleDistance = 8 * kRepetitionWindow;
  std::uint32_t bytes = 0;
  std::uint32_t changes = 0;
  std::uint32_t places = 0;
  std::uint32_t sum = 0;
  for (std::size_t at = 1; at + 2 * kRepetitionWindow <= data.size(); at += kSampleDistance) {
    const std::uint64_t repeated = repetitions(data.data() + at);
    bytes += kRepetitionWindow;
    changes += countOf(~repeated);
    places += countOf(pixelPairs(repeated, repetitions(data.data() + at + kRepetitionWindow)));
    sum += sumOfChanges(data.data() + at);
  }
  if (changes == 0) return {bytes == 0 ? 0.0 : 1.0, 0, 0};
  return {1 - static_cast<double>(changes) / bytes, static_cast<double>(places) / changes,
          static_cast<double>(sum) / changes};
}

}  // namespace picture
