#include "picture/png/MatchFinder.h"

#include <algorithm>
#include <bit>
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

template <MatchFinder::Search::Lengths kLengths>
std::span<const Match> MatchFinder::findBy(std::span<const std::uint8_t> data, StripScan& scan,
                                           unsigned changeBits) noexcept {
  constexpr bool kLong = kLengths != Search::Lengths::Short;
  constexpr bool kShort = kLengths != Search::Lengths::Long;
  constexpr std::size_t kLeast = kShort ? kShortBytes : kLongBytes;
  const std::uint8_t* const first = data.data();
  std::size_t end = 0;  // of the last match
  Match* out = matches_.get();
  for (const std::uint32_t at : std::span(places_.get(), placeCount_)) {
    const std::uint8_t* const here = first + at;
    const std::uint32_t longPlace = kLong ? std::exchange(long_[longHash(here)], at) : 0;
    const std::uint32_t shortPlace = kShort ? std::exchange(short_[shortHash(here)], at) : 0;
    if (at < end) continue;
    // Where there is none, at 0, whatever is there may agree as well.
    std::size_t there = longPlace;
    std::size_t ahead = kLong ? agreeing(here, first + longPlace) : 0;
    if (kShort && ahead < kLongBytes) {
      there = shortPlace;
      ahead = agreeing(here, first + shortPlace);
    }
    const std::size_t distance = at - there;
    if (ahead < kLeast || distance > kLargestDistance || there < kByteVectorSize) continue;
    if (ahead == kAheadAtOnce)
      ahead = agreeingFurther(here, first + there, std::min(kLongestMatch, data.size() - at));
    const std::size_t before =
        std::min({agreeingBefore(here, first + there), kLongestMatch - ahead, at - end});
    const Match match{static_cast<std::uint32_t>(at - before), static_cast<std::uint16_t>(ahead + before),
                      static_cast<std::uint16_t>(distance)};
    const unsigned without = changeBits * changesIn(scan.repetitions().data(), match.position, match.length);
    if (without <= kMatchBits + distanceExtraBits(distance)) continue;
    scan.removeFromRuns(match);
    *out++ = match;
    end = match.position + match.length;
  }
  return {matches_.get(), out};
}

std::span<const Match> MatchFinder::find(std::span<const std::uint8_t> data, StripScan& scan,
                                         Search search) noexcept {
  findPlaces(data.size(), scan.repetitions());
  std::fill(long_.begin(), long_.end(), 0U);
  std::fill(short_.begin(), short_.end(), 0U);
  switch (search.lengths) {
    case Search::Lengths::Long:
      return findBy<Search::Lengths::Long>(data, scan, search.changeBits);
    case Search::Lengths::Short:
      return findBy<Search::Lengths::Short>(data, scan, search.changeBits);
    case Search::Lengths::All:
      break;
  }
  return findBy<Search::Lengths::All>(data, scan, search.changeBits);
}

}  // namespace picture
