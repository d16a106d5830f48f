#include "picture/png/MatchParser.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace picture {
namespace {

constexpr unsigned kHashBits = 14;
constexpr std::size_t kWindowMask = kLargestDistance - 1;
constexpr std::size_t kWordBytes = 8;

// Repetitions of one byte are worth coding as a match from this many on.
constexpr std::size_t kShortestRun = 5;

// Of a long match only so many places at either end are remembered: a later match begins at an end of it, or
// finds its middle from there.
constexpr std::size_t kRememberedEnds = 32;

// How the search goes about it; the figures were tried on clean and grey photographs.
constexpr std::size_t kShortestSearched = 9;
constexpr int kPlacesLookedAt = 24;  // as many as it takes to stay within a seventh of libpng on clean grey
constexpr std::size_t kGoodLength = 32;  // taken without looking further

std::uint64_t wordAt(const std::uint8_t* at) {
  std::uint64_t word = 0;
  std::memcpy(&word, at, sizeof word);
  return word;
}

// Of the next kWordBytes bytes.
std::uint32_t hashAt(const std::uint8_t* at) {
  constexpr std::uint64_t kFactor = 0x9E3779B97F4A7C15;  // 2^64 / golden ratio
  return static_cast<std::uint32_t>(wordAt(at) * kFactor >> (64 - kHashBits));
}

std::size_t commonLength(const std::uint8_t* a, const std::uint8_t* b, std::size_t most) {
  std::size_t length = 0;
  for (; length + kWordBytes <= most; length += kWordBytes) {
    const std::uint64_t difference = wordAt(a + length) ^ wordAt(b + length);
    if (difference != 0) return length + static_cast<std::size_t>(std::countr_zero(difference)) / 8;
  }
  while (length < most && a[length] == b[length])
    ++length;
  return length;
}

}  // namespace

MatchParser::MatchParser() : newest_(std::size_t{1} << kHashBits), older_(kLargestDistance) {}

void MatchParser::insert(std::size_t position) noexcept {
  if (position + kWordBytes > data_.size()) return;
  std::uint32_t& newest = newest_[hashAt(data_.data() + position)];
  older_[position & kWindowMask] = newest;
  newest = static_cast<std::uint32_t>(position + 1);
}

// The longest match found, the nearest of equals; length 0 when there is none.
MatchParser::Match MatchParser::findAt(std::size_t position) const noexcept {
  const std::size_t most = std::min(kLongestMatch, data_.size() - position);
  const std::uint8_t* here = data_.data() + position;
  Match best;
  if (position > 0 && here[0] == here[-1]) {
    const std::size_t run = commonLength(here, here - 1, most);
    if (run >= kShortestRun) best = {run, 1};
  }
  const bool searches = position + kWordBytes <= data_.size() && best.length < std::min(most, kGoodLength);
  std::uint32_t candidate = searches ? newest_[hashAt(here)] : 0;
  for (int left = kPlacesLookedAt; candidate != 0 && left > 0; --left) {
    const std::size_t earlier = candidate - 1;
    const std::size_t distance = position - earlier;
    if (distance >= kLargestDistance) break;
    const std::uint8_t* there = data_.data() + earlier;
    if (there[best.length] == here[best.length]) {
      const std::size_t length = commonLength(here, there, most);
      if (length > best.length && length >= kShortestSearched) best = {length, distance};
      if (best.length >= std::min(most, kGoodLength)) break;
    }
    candidate = older_[earlier & kWindowMask];
  }
  return best;
}

void MatchParser::parse(std::span<const std::uint8_t> data, DeflateTokens& tokens) {
  tokens.clear();
  data_ = data;
  std::fill(newest_.begin(), newest_.end(), 0U);
  std::size_t literalsFrom = 0;
  std::size_t at = 0;
  while (at < data_.size()) {
    const Match match = findAt(at);
    insert(at);
    if (match.length == 0) {
      ++at;
      continue;
    }
    tokens.push_back({static_cast<std::uint32_t>(at - literalsFrom), static_cast<std::uint16_t>(match.length),
                      static_cast<std::uint16_t>(match.distance)});
    const std::size_t end = at + match.length;
    const bool isLong = match.length > 2 * kRememberedEnds;
    for (const std::size_t upTo = isLong ? at + kRememberedEnds : end; ++at < upTo;)
      insert(at);
    for (at = isLong ? end - kRememberedEnds : end; at < end; ++at)
      insert(at);
    literalsFrom = end;
  }
  tokens.push_back({static_cast<std::uint32_t>(data_.size() - literalsFrom), 0, 0});
}

}  // namespace picture
