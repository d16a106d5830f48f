#include "platform/linux/image/RunParser.h"

#include <algorithm>
#include <bit>

#include "platform/linux/image/ByteVector.h"

namespace platform_linux {
namespace {

// The least repetitions that become a match; fewer cost more as a match than as literals in most photographs.
constexpr std::size_t kShortestRun = 5;

// Bytes looked at in one step, and how far that moves on: a run that begins later may not be seen whole.
constexpr std::size_t kWindow = 64;
constexpr std::size_t kStep = kWindow - kShortestRun + 1;

// One bit for each of kWindow bytes that equals its left neighbour.
std::uint64_t repetitions(const std::uint8_t* at) {
  std::uint64_t bits = 0;
  for (std::size_t i = 0; i < kWindow; i += kByteVectorSize) {
    bits |= static_cast<std::uint64_t>(bitsOf(equalMask(load(at + i), load(at + i - 1)))) << i;
  }
  return bits;
}

// Of the bits set, those that are followed by at least kShortestRun - 1 others.
std::uint64_t startsOfRuns(std::uint64_t bits) {
  static_assert(kShortestRun == 5);
  const std::uint64_t pairs = bits & bits >> 1;
  return pairs & pairs >> 2 & bits >> 4;
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
  const auto take = [&](std::size_t from, std::size_t end) {
    appendRun(from - literalsFrom, end - from, tokens);
    literalsFrom = end;
  };
  std::size_t at = 1;  // everything before it is dealt with
  while (at + kWindow <= data.size()) {
    const std::size_t next = at + kStep;
    for (std::uint64_t starts = startsOfRuns(repetitions(data.data() + at)); starts != 0;) {
      const std::size_t from = at + static_cast<std::size_t>(std::countr_zero(starts));
      const std::size_t end = endOfRun(data, from + kShortestRun);
      take(from, end);
      starts = end - at >= kWindow ? 0 : starts & ~std::uint64_t{0} << (end - at);
    }
    at = std::max(next, literalsFrom);
  }
  for (; at < data.size(); ++at) {
    const std::size_t end = endOfRun(data, at);
    if (end - at >= kShortestRun) take(at, end);
    at = end;
  }
  tokens.push_back({static_cast<std::uint32_t>(data.size() - literalsFrom), 0, 0});
}

double estimateRepetitions(std::span<const std::uint8_t> data) {
  constexpr std::size_t kSampleDistance = 8 * kWindow;
  std::size_t samples = 0;
  std::size_t repeated = 0;
  for (std::size_t at = 1; at + kWindow <= data.size(); at += kSampleDistance, samples += kWindow)
    repeated += static_cast<std::size_t>(std::popcount(repetitions(data.data() + at)));
  return samples == 0 ? 0 : static_cast<double>(repeated) / static_cast<double>(samples);
}

}  // namespace platform_linux
