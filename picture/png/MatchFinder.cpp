#include "picture/png/MatchFinder.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <utility>

#ifdef __x86_64__
#include <immintrin.h>
#endif

#include "picture/png/BitPositions.h"
#include "picture/png/DeflateSymbols.h"
#include "picture/png/RepetitionBits.h"

namespace picture {
namespace {

constexpr unsigned kHashBits = 12;

// Long matches are looked for by their first bytes so many, short ones by those of two pixels.
constexpr std::size_t kLongBytes = 16;
constexpr std::size_t kShortBytes = 6;

// What a match takes on the average, in bits, but for the extra bits of its distance.
constexpr unsigned kMatchBits = 11;

constexpr std::uint64_t kFactor = 0x9E3779B97F4A7C15;  // 2^64 / golden ratio

// So many bytes are compared at once.
constexpr std::size_t kAheadAtOnce = 32;
constexpr std::size_t kBeforeAtOnce = kByteVectorSize;

// Two kinds of processors, by what they do in one step. Everything that is given one of them is part of a
// function that is compiled for it, down to these questions.
struct AnyProcessor {
  // One bit for each of the kAheadAtOnce bytes at `a` and `b`, set for those that agree.
  static std::uint32_t agreement(const std::uint8_t* a, const std::uint8_t* b) {
    return bitsOf(equalMask(load(a), load(b))) |
           bitsOf(equalMask(load(a + kByteVectorSize), load(b + kByteVectorSize))) << kByteVectorSize;
  }
  static unsigned count(std::uint64_t bits) { return countOf(bits); }
};

#ifdef __x86_64__
#define CAMERA_SHOT_FOR_AVX2 [[gnu::target("avx2,bmi,bmi2,popcnt")]]
struct WithAvx2 {
  CAMERA_SHOT_FOR_AVX2 static std::uint32_t agreement(const std::uint8_t* a, const std::uint8_t* b) {
    return static_cast<std::uint32_t>(_mm256_movemask_epi8(
        std::bit_cast<__m256i>(equalMask(load<WideByteVector>(a), load<WideByteVector>(b)))));
  }
  CAMERA_SHOT_FOR_AVX2 static unsigned count(std::uint64_t bits) {
    return static_cast<unsigned>(std::popcount(bits));
  }
};
#endif

[[gnu::always_inline]] inline std::uint64_t wordAt(const std::uint8_t* at) {
  std::uint64_t word = 0;
  std::memcpy(&word, at, sizeof word);
  return word;
}

[[gnu::always_inline]] inline std::size_t shortHash(const std::uint8_t* at) {
  static_assert(kShortBytes == 6);
  return (wordAt(at) << 16) * kFactor >> (64 - kHashBits);
}

[[gnu::always_inline]] inline std::size_t longHash(const std::uint8_t* at) {
  static_assert(kLongBytes == 16);
  return (wordAt(at) * kFactor + wordAt(at + 8)) * kFactor >> (64 - kHashBits);
}

// How many of the kAheadAtOnce bytes from `a` and `b` on agree.
template <typename Processor>
[[gnu::always_inline]] inline std::size_t agreeing(const std::uint8_t* a, const std::uint8_t* b) {
  return static_cast<std::size_t>(std::countr_one(std::uint64_t{Processor::agreement(a, b)}));
}

// The same when all of those agree: how many, `most` at most.
template <typename Processor>
[[gnu::always_inline]] inline std::size_t agreeingFurther(const std::uint8_t* a, const std::uint8_t* b,
                                                          std::size_t most) {
  std::size_t length = kAheadAtOnce;
  for (; length + kAheadAtOnce <= most; length += kAheadAtOnce) {
    const std::size_t agreed = agreeing<Processor>(a + length, b + length);
    if (agreed < kAheadAtOnce) return length + agreed;
  }
  while (length < most && a[length] == b[length])
    ++length;
  return length;
}

// How many of the kBeforeAtOnce bytes before `a` and `b` agree.
[[gnu::always_inline]] inline std::size_t agreeingBefore(const std::uint8_t* a, const std::uint8_t* b) {
  const std::uint32_t agreement = bitsOf(equalMask(load(a - kBeforeAtOnce), load(b - kBeforeAtOnce)));
  return static_cast<std::size_t>(std::countl_one(agreement << (32 - kBeforeAtOnce)));
}

// How many of the bytes differ from the one before them; of the first 64.
template <typename Processor>
[[gnu::always_inline]] inline unsigned changesIn(const std::uint64_t* repetitions, std::size_t from,
                                                 std::size_t length) {
  const std::uint64_t* word = repetitions + from / kRepetitionWindow;
  const unsigned shift = from % kRepetitionWindow;
  const std::uint64_t bits = word[0] >> shift | word[1] << 1 << (kRepetitionWindow - 1 - shift);
  return Processor::count(~bits & lowBits(length));
}

[[gnu::always_inline]] inline unsigned distanceExtraBits(std::size_t distance) {
  return distanceSymbol(static_cast<std::uint32_t>(distance)).extraBits;
}

using Search = MatchFinder::Search;

// Each of `places` with the newest one before it, where enough bytes agree, to `out`; also places within
// matches that are chosen later. Answers the end. Without a jump that depends on what is found: there is no
// telling, and a wrong guess of the processor's takes as long as to look at another place.
template <typename Processor, Search::Lengths kLengths>
[[gnu::always_inline]] inline Match* findCandidates(const std::uint8_t* data,
                                                    std::span<const std::uint32_t> places,
                                                    std::uint32_t* newestLong, std::uint32_t* newestShort,
                                                    Match* out) {
  constexpr bool kLong = kLengths != Search::Lengths::Short;
  constexpr bool kShort = kLengths != Search::Lengths::Long;
  constexpr std::size_t kLeast = kShort ? kShortBytes : kLongBytes;
  for (const std::uint32_t at : places) {
    const std::uint8_t* const here = data + at;
    // Where there is none, at 0, whatever is there may agree as well.
    std::size_t there = kLong ? std::exchange(newestLong[longHash(here)], at) : 0;
    std::size_t ahead = kLong ? agreeing<Processor>(here, data + there) : 0;
    if (kShort) {
      const std::size_t shortPlace = std::exchange(newestShort[shortHash(here)], at);
      const std::size_t shortAhead = agreeing<Processor>(here, data + shortPlace);
      const bool isLong = ahead >= kLongBytes;
      there = isLong ? there : shortPlace;
      ahead = isLong ? ahead : shortAhead;
    }
    const std::size_t distance = at - there;
    *out = {at, static_cast<std::uint16_t>(ahead), static_cast<std::uint16_t>(distance)};
    const bool isCandidate = (ahead >= kLeast) & (distance <= kLargestDistance) & (there >= kBeforeAtOnce);
    out += isCandidate ? 1 : 0;
  }
  return out;
}

template <typename Processor>
[[gnu::always_inline]] inline Match* findCandidates(Search::Lengths lengths, const std::uint8_t* data,
                                                    std::span<const std::uint32_t> places,
                                                    std::uint32_t* newestLong, std::uint32_t* newestShort,
                                                    Match* out) {
  switch (lengths) {
    case Search::Lengths::Long:
      return findCandidates<Processor, Search::Lengths::Long>(data, places, newestLong, newestShort, out);
    case Search::Lengths::Short:
      return findCandidates<Processor, Search::Lengths::Short>(data, places, newestLong, newestShort, out);
    case Search::Lengths::All:
      break;
  }
  return findCandidates<Processor, Search::Lengths::All>(data, places, newestLong, newestShort, out);
}

// Those of `candidates` that pay and begin at `end` or behind it, at their whole length, to `out`. Answers
// the end.
template <typename Processor>
[[gnu::always_inline]] inline Match* choose(std::span<const std::uint8_t> data,
                                            std::span<const std::uint64_t> repetitions,
                                            std::span<const Match> candidates, unsigned changeBits,
                                            std::size_t end, Match* out) {
  for (const Match candidate : candidates) {
    const std::size_t at = candidate.position;
    if (at < end) continue;
    const std::uint8_t* const here = data.data() + at;
    const std::uint8_t* const there = here - candidate.distance;
    std::size_t ahead = candidate.length;
    if (ahead == kAheadAtOnce)
      ahead = agreeingFurther<Processor>(here, there, std::min(kLongestMatch, data.size() - at));
    const std::size_t before = std::min({agreeingBefore(here, there), kLongestMatch - ahead, at - end});
    const Match match{static_cast<std::uint32_t>(at - before), static_cast<std::uint16_t>(ahead + before),
                      candidate.distance};
    const unsigned without =
        changeBits * changesIn<Processor>(repetitions.data(), match.position, match.length);
    if (without <= kMatchBits + distanceExtraBits(match.distance)) continue;
    *out++ = match;
    end = match.position + match.length;
  }
  return out;
}

}  // namespace

// A place is followed by two repetitions at least.
MatchFinder::MatchFinder(std::size_t bytes)
    : placeBits_(std::make_unique_for_overwrite<std::uint64_t[]>(bytes / kRepetitionWindow + 1)),
      places_(std::make_unique_for_overwrite<std::uint32_t[]>(bytes / 3 + kPositionsSlack)),
      matches_(std::make_unique_for_overwrite<Match[]>(bytes / kShortBytes + 1)),
      long_(std::size_t{1} << kHashBits),
      short_(std::size_t{1} << kHashBits) {}

std::span<const std::uint32_t> MatchFinder::findPlaces(std::size_t bytes,
                                                       std::span<const std::uint64_t> repetitions) noexcept {
  for (std::size_t i = 0; i < repetitions.size(); ++i)
    placeBits_[i] = pixelPairs(repetitions[i], i + 1 < repetitions.size() ? repetitions[i + 1] : 0);
  if (!repetitions.empty()) placeBits_[0] &= ~lowBits(kBeforeAtOnce);  // so much is looked at before a place
  const std::uint32_t* const begin = places_.get();
  const std::uint32_t* end = listPositions({placeBits_.get(), repetitions.size()}, places_.get());
  while (end > begin && end[-1] + kAheadAtOnce > bytes)  // and so much behind it
    --end;
  return {begin, end};
}

template <typename Processor>
[[gnu::always_inline]] inline std::span<const Match> MatchFinder::findOn(
    std::span<const std::uint8_t> data, std::span<const std::uint64_t> repetitions, Search search) noexcept {
  std::span<const std::uint32_t> places = findPlaces(data.size(), repetitions);
  std::fill(long_.begin(), long_.end(), 0U);
  std::fill(short_.begin(), short_.end(), 0U);
  Match* const first = candidates_.data();
  Match* end = matches_.get();
  while (!places.empty()) {
    const auto some = places.first(std::min(kPlacesAtOnce, places.size()));
    places = places.subspan(some.size());
    const Match* const last =
        findCandidates<Processor>(search.lengths, data.data(), some, long_.data(), short_.data(), first);
    const std::size_t covered = end == matches_.get() ? 0 : end[-1].position + end[-1].length;
    end = choose<Processor>(data, repetitions, {first, last}, search.changeBits, covered, end);
  }
  return {matches_.get(), end};
}

#ifdef __x86_64__
CAMERA_SHOT_FOR_AVX2 std::span<const Match> MatchFinder::findByAvx2(
    std::span<const std::uint8_t> data, std::span<const std::uint64_t> repetitions, Search search) noexcept {
  return findOn<WithAvx2>(data, repetitions, search);
}
#endif

std::span<const Match> MatchFinder::findPortably(std::span<const std::uint8_t> data,
                                                 std::span<const std::uint64_t> repetitions,
                                                 Search search) noexcept {
  return findOn<AnyProcessor>(data, repetitions, search);
}

std::span<const Match> MatchFinder::find(std::span<const std::uint8_t> data,
                                         std::span<const std::uint64_t> repetitions, Search search) noexcept {
#ifdef __x86_64__
  if (__builtin_cpu_supports("avx2") && __builtin_cpu_supports("bmi") && __builtin_cpu_supports("bmi2") &&
      __builtin_cpu_supports("popcnt"))
    return findByAvx2(data, repetitions, search);
#endif
  return findPortably(data, repetitions, search);
}

}  // namespace picture
