#include "platform/linux/image/MatchParser.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace platform_linux {
namespace {

constexpr unsigned kHashBits = 14;
constexpr std::size_t kWindowMask = kLargestDistance - 1;

// How far a chain is followed, and from which length on a match is taken without looking further. More costs
// much time and gains little on what comes here.
constexpr int kLongestChain = 24;
constexpr std::size_t kGoodLength = 32;

// A match of three bytes from further away costs more than three literals.
constexpr std::size_t kFarForShortest = 4096;

std::uint32_t hashOf(const std::uint8_t* at) {
  const std::uint32_t bytes = static_cast<std::uint32_t>(at[0]) | static_cast<std::uint32_t>(at[1]) << 8 |
                              static_cast<std::uint32_t>(at[2]) << 16;
  return bytes * 0x9E3779B1U >> (32 - kHashBits);  // 2^32 / golden ratio
}

std::size_t commonLength(const std::uint8_t* a, const std::uint8_t* b, std::size_t most) {
  std::size_t length = 0;
  for (; length + 8 <= most; length += 8) {
    std::uint64_t wordA = 0;
    std::uint64_t wordB = 0;
    std::memcpy(&wordA, a + length, sizeof wordA);
    std::memcpy(&wordB, b + length, sizeof wordB);
    if (wordA != wordB) return length + static_cast<std::size_t>(std::countr_zero(wordA ^ wordB)) / 8;
  }
  while (length < most && a[length] == b[length])
    ++length;
  return length;
}

}  // namespace

MatchParser::MatchParser() : newest_(std::size_t{1} << kHashBits), older_(kLargestDistance) {}

void MatchParser::insert(std::size_t position) noexcept {
  if (position + kShortestMatch > data_.size()) return;
  std::uint32_t& newest = newest_[hashOf(data_.data() + position)];
  older_[position & kWindowMask] = newest;
  newest = static_cast<std::uint32_t>(position + 1);
}

// A match longer than `atLeast`, the nearest of the longest ones; length 0 when there is none.
MatchParser::Match MatchParser::longestMatch(std::size_t position, std::size_t atLeast) const noexcept {
  Match best{atLeast, 0};
  const std::size_t most = std::min(kLongestMatch, data_.size() - position);
  if (most < kShortestMatch || best.length >= most) return {};
  const std::uint8_t* here = data_.data() + position;
  std::uint32_t candidate = newest_[hashOf(here)];
  for (int left = kLongestChain; candidate != 0 && left > 0; --left) {
    const std::size_t earlier = candidate - 1;
    const std::size_t distance = position - earlier;
    if (distance >= kLargestDistance) break;
    const std::uint8_t* there = data_.data() + earlier;
    if (there[best.length] == here[best.length]) {
      const std::size_t length = commonLength(here, there, most);
      if (length > best.length && (length > kShortestMatch || distance <= kFarForShortest)) {
        best = {length, distance};
        if (length == most || length >= kGoodLength) break;
      }
    }
    candidate = older_[earlier & kWindowMask];
  }
  return best.distance == 0 ? Match{} : best;
}

void MatchParser::parse(std::span<const std::uint8_t> data, DeflateTokens& tokens) {
  tokens.clear();
  data_ = data;
  std::fill(newest_.begin(), newest_.end(), 0U);
  std::size_t literalsFrom = 0;
  std::size_t at = 0;
  while (at < data.size()) {
    Match match = longestMatch(at, kShortestMatch - 1);
    insert(at);
    if (match.length == 0) {
      ++at;
      continue;
    }
    // A longer match one byte later is worth the literal.
    while (match.length < kGoodLength && at + 1 < data.size()) {
      const Match later = longestMatch(at + 1, match.length);
      if (later.length == 0) break;
      insert(++at);
      match = later;
    }
    tokens.push_back({static_cast<std::uint32_t>(at - literalsFrom), static_cast<std::uint16_t>(match.length),
                      static_cast<std::uint16_t>(match.distance)});
    const std::size_t end = at + match.length;
    while (++at < end)
      insert(at);
    literalsFrom = end;
  }
  tokens.push_back({static_cast<std::uint32_t>(data.size() - literalsFrom), 0, 0});
}

}  // namespace platform_linux
