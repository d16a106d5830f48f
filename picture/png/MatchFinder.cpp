#include "picture/png/MatchFinder.h"

#include <algorithm>
#include <bit>
#include <cstdlib>
#include <cstring>
#include <utility>

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

std::uint64_t wordAt(const std::uint8_t* at) {
  std::uint64_t word = 0;
  std::memcpy(&word, at, sizeof word);
  return word;
}

std::size_t shortHash(const std::uint8_t* at) {
  static_assert(kShortBytes == 6);
  return (wordAt(at) << 16) * kFactor >> (64 - kHashBits);
}

std::size_t longHash(const std::uint8_t* at) {
  static_assert(kLongBytes == 16);
  return (wordAt(at) * kFactor + wordAt(at + 8)) * kFactor >> (64 - kHashBits);
}

// One bit for each of the kByteVectorSize bytes at `a` and `b` that do not agree.
std::uint32_t differences(const std::uint8_t* a, const std::uint8_t* b) {
  return bitsOf(~equalMask(load(a), load(b)));
}

constexpr std::size_t kAheadAtOnce = 2 * kByteVectorSize;

// How many of the kAheadAtOnce bytes from `a` and `b` on agree.
std::size_t agreeing(const std::uint8_t* a, const std::uint8_t* b) {
  const std::uint64_t different =
      differences(a, b) | static_cast<std::uint64_t>(differences(a + kByteVectorSize, b + kByteVectorSize))
                              << kByteVectorSize;
  return static_cast<std::size_t>(std::countr_zero(different | std::uint64_t{1} << kAheadAtOnce));
}

// The same when all of those agree: how many, `most` at most.
std::size_t agreeingFurther(const std::uint8_t* a, const std::uint8_t* b, std::size_t most) {
  std::size_t length = kAheadAtOnce;
  for (; length + kAheadAtOnce <= most; length += kAheadAtOnce) {
    const std::size_t agreed = agreeing(a + length, b + length);
    if (agreed < kAheadAtOnce) return length + agreed;
  }
  while (length < most && a[length] == b[length])
    ++length;
  return length;
}

// How many of the kByteVectorSize bytes before `a` and `b` agree.
std::size_t agreeingBefore(const std::uint8_t* a, const std::uint8_t* b) {
  const std::uint32_t different = differences(a - kByteVectorSize, b - kByteVectorSize);
  return static_cast<std::size_t>(
      std::countl_zero(different << (32 - kByteVectorSize) | 1U << (31 - kByteVectorSize)));
}

// How many of the bytes differ from the one before them; of the first 64.
unsigned changesIn(const std::uint64_t* repetitions, std::size_t from, std::size_t length) {
  const std::uint64_t* word = repetitions + from / kRepetitionWindow;
  const unsigned shift = from % kRepetitionWindow;
  const std::uint64_t bits = word[0] >> shift | word[1] << 1 << (kRepetitionWindow - 1 - shift);
  return countOf(~bits & lowBits(length));
}

unsigned distanceExtraBits(std::size_t distance) {
  return distanceSymbol(static_cast<std::uint32_t>(distance)).extraBits;
}

}  // namespace

// A place is followed by two repetitions at least.
MatchFinder::MatchFinder(std::size_t bytes)
    : places_(std::make_unique_for_overwrite<std::uint32_t[]>(bytes / 3 + 2 * kPositionsAtOnce)),
      matches_(std::make_unique_for_overwrite<Match[]>(bytes / kShortBytes + 1)),
      long_(std::size_t{1} << kHashBits),
      short_(std::size_t{1} << kHashBits) {}

void MatchFinder::findPlaces(std::size_t bytes, std::span<const std::uint64_t> repetitions) noexcept {
  std::uint32_t* const begin = places_.get();
  std::uint32_t* end = begin;
  for (std::size_t i = 0; i < repetitions.size(); ++i) {
    const std::uint64_t following = i + 1 < repetitions.size() ? repetitions[i + 1] : 0;
    std::uint64_t places = pixelPairs(repetitions[i], following);
    if (i == 0) places &= ~lowBits(kByteVectorSize);  // so much is looked at before a place
    end = appendPositions(places, i * kRepetitionWindow, end);
  }
  while (end > begin && end[-1] + kAheadAtOnce > bytes)  // and so much behind it
    --end;
  placeCount_ = static_cast<std::size_t>(end - begin);
}

// Without a jump that depends on what is found: there is no telling, and a wrong guess of the processor's
// takes as long as to look at another place.
template <MatchFinder::Search::Lengths kLengths>
std::span<const Match> MatchFinder::findCandidates(std::span<const std::uint8_t> data,
                                                   std::span<const std::uint32_t> places) noexcept {
  constexpr bool kLong = kLengths != Search::Lengths::Short;
  constexpr bool kShort = kLengths != Search::Lengths::Long;
  constexpr std::size_t kLeast = kShort ? kShortBytes : kLongBytes;
  const std::uint8_t* const first = data.data();
  Match* out = candidates_.data();
  for (const std::uint32_t at : places) {
    const std::uint8_t* const here = first + at;
    // Where there is none, at 0, whatever is there may agree as well.
    std::size_t there = kLong ? std::exchange(long_[longHash(here)], at) : 0;
    std::size_t ahead = kLong ? agreeing(here, first + there) : 0;
    if (kShort) {
      const std::size_t shortPlace = std::exchange(short_[shortHash(here)], at);
      const std::size_t shortAhead = agreeing(here, first + shortPlace);
      const bool isLong = ahead >= kLongBytes;
      there = isLong ? there : shortPlace;
      ahead = isLong ? ahead : shortAhead;
    }
    const std::size_t distance = at - there;
    *out = {at, static_cast<std::uint16_t>(ahead), static_cast<std::uint16_t>(distance)};
    const bool isCandidate = (ahead >= kLeast) & (distance <= kLargestDistance) & (there >= kByteVectorSize);
    out += isCandidate ? 1 : 0;
  }
  return {candidates_.data(), out};
}

Match* MatchFinder::choose(std::span<const std::uint8_t> data, StripScan& scan,
                           std::span<const Match> candidates, unsigned changeBits,
                           Match* out) const noexcept {
  std::size_t end = out == matches_.get() ? 0 : out[-1].position + out[-1].length;
  for (const Match candidate : candidates) {
    const std::size_t at = candidate.position;
    if (at < end) continue;
    const std::uint8_t* const here = data.data() + at;
    const std::uint8_t* const there = here - candidate.distance;
    std::size_t ahead = candidate.length;
    if (ahead == kAheadAtOnce)
      ahead = agreeingFurther(here, there, std::min(kLongestMatch, data.size() - at));
    const std::size_t before = std::min({agreeingBefore(here, there), kLongestMatch - ahead, at - end});
    const Match match{static_cast<std::uint32_t>(at - before), static_cast<std::uint16_t>(ahead + before),
                      candidate.distance};
    const unsigned without = changeBits * changesIn(scan.repetitions().data(), match.position, match.length);
    if (without <= kMatchBits + distanceExtraBits(match.distance)) continue;
    scan.removeFromRuns(match);
    *out++ = match;
    end = match.position + match.length;
  }
  return out;
}

std::span<const Match> MatchFinder::findCandidates(std::span<const std::uint8_t> data,
                                                   std::span<const std::uint32_t> places,
                                                   Search::Lengths lengths) noexcept {
  switch (lengths) {
    case Search::Lengths::Long:
      return findCandidates<Search::Lengths::Long>(data, places);
    case Search::Lengths::Short:
      return findCandidates<Search::Lengths::Short>(data, places);
    case Search::Lengths::All:
      break;
  }
  return findCandidates<Search::Lengths::All>(data, places);
}

std::span<const Match> MatchFinder::find(std::span<const std::uint8_t> data, StripScan& scan,
                                         Search search) noexcept {
  findPlaces(data.size(), scan.repetitions());
  std::fill(long_.begin(), long_.end(), 0U);
  std::fill(short_.begin(), short_.end(), 0U);
  Match* end = matches_.get();
  for (std::size_t at = 0; at < placeCount_; at += kPlacesAtOnce) {
    const std::span places(places_.get() + at, std::min(kPlacesAtOnce, placeCount_ - at));
    end = choose(data, scan, findCandidates(data, places, search.lengths), search.changeBits, end);
  }
  return {matches_.get(), end};
}

}  // namespace picture
