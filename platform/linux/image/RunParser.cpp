#include "platform/linux/image/RunParser.h"

#include <algorithm>
#include <array>
#include <bit>

#include "platform/linux/image/ByteVector.h"

namespace platform_linux {
namespace {

// The least repetitions that become a match; fewer cost more as a match than as literals in most photographs.
constexpr std::size_t kShortestRun = 5;

// Bytes looked at in one step: those of a vector and the next two.
constexpr std::size_t kStep = kByteVectorSize;
constexpr std::size_t kLookAhead = kStep + 2;

// Whether any byte of four, taken at `at` + 0, 4, 8 and 12, equals its left neighbour together with the three
// others.
bool hasFourRepetitions(const std::uint8_t* at) {
  const ByteVector repeated = equalMask(load(at), load(at - 1));
  const auto words = std::bit_cast<std::array<std::uint32_t, 4>>(repeated);
  return words[0] == ~0U || words[1] == ~0U || words[2] == ~0U || words[3] == ~0U;
}

// A run of kShortestRun repetitions that begins before `at` + kStep covers four bytes from an even position.
bool mayHoldRun(const std::uint8_t* at) {
  return hasFourRepetitions(at) || hasFourRepetitions(at + 2);
}

// The first position from `from` on whose byte differs from its left neighbour.
std::size_t endOfRun(std::span<const std::uint8_t> data, std::size_t from) {
  for (; from + 8 <= data.size(); from += 8) {
    std::uint64_t here = 0;
    std::uint64_t left = 0;
    std::memcpy(&here, data.data() + from, sizeof here);
    std::memcpy(&left, data.data() + from - 1, sizeof left);
    if (here != left) return from + static_cast<std::size_t>(std::countr_zero(here ^ left)) / 8;
  }
  while (from < data.size() && data[from] == data[from - 1])
    ++from;
  return from;
}

// Divides a run into matches, none shorter than deflate allows.
void appendRun(std::size_t literals, std::size_t length, DeflateTokens& tokens) {
  while (length > 0) {
    std::size_t taken = std::min(length, kLongestMatch);
    if (length > taken && length - taken < kShortestMatch) taken -= kShortestMatch;
    tokens.push_back({static_cast<std::uint32_t>(literals), static_cast<std::uint16_t>(taken), 1});
    literals = 0;
    length -= taken;
  }
}

}  // namespace

void parseRuns(std::span<const std::uint8_t> data, DeflateTokens& tokens) {
  tokens.clear();
  std::size_t literalsFrom = 0;
  std::size_t at = 1;  // everything before it is dealt with
  while (at < data.size()) {
    if (at + kLookAhead <= data.size() && !mayHoldRun(data.data() + at)) {
      at += kStep;
      continue;
    }
    const std::size_t stop = std::min(at + kStep, data.size());
    while (at < stop) {
      const std::size_t end = endOfRun(data, at);
      if (end - at >= kShortestRun) {
        appendRun(at - literalsFrom, end - at, tokens);
        literalsFrom = end;
      }
      at = end + 1;  // the byte at `end` differs from its neighbour
    }
  }
  tokens.push_back({static_cast<std::uint32_t>(data.size() - literalsFrom), 0, 0});
}

}  // namespace platform_linux
