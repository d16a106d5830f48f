#include "picture/png/RunParser.h"

#include <algorithm>
#include <bit>

#include "picture/ByteVector.h"

namespace picture {
namespace {

// The least repetitions that become a match; fewer cost more as a match than as literals in most photographs.
constexpr std::size_t kShortestRun = 5;

// Bytes looked at in one step: one bit each.
constexpr std::size_t kWindow = 64;

// One bit for each of kWindow bytes that equals its left neighbour.
std::uint64_t repetitions(const std::uint8_t* at) {
  std::uint64_t bits = 0;
  for (std::size_t i = 0; i < kWindow; i += kByteVectorSize) {
    bits |= static_cast<std::uint64_t>(bitsOf(equalMask(load(at + i), load(at + i - 1)))) << i;
  }
  return bits;
}

// The same for those of the bytes from `at` on that there are; the very first one has no left neighbour.
std::uint64_t repetitions(std::span<const std::uint8_t> data, std::size_t at) {
  if (at > 0 && at + kWindow <= data.size()) return repetitions(data.data() + at);
  std::uint64_t bits = 0;
  for (std::size_t i = std::max<std::size_t>(at, 1); i < std::min(at + kWindow, data.size()); ++i)
    bits |= static_cast<std::uint64_t>(data[i] == data[i - 1]) << (i - at);
  return bits;
}

// `bits` with what follows them moved in from the other end.
std::uint64_t shiftedDown(std::uint64_t bits, std::uint64_t following, unsigned count) {
  return bits >> count | following << (kWindow - count);
}
std::uint64_t shiftedUp(std::uint64_t bits, std::uint64_t preceding, unsigned count) {
  return bits << count | preceding >> (kWindow - count);
}

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

unsigned countOf(std::uint64_t bits) {
  // By halves of halves: the instruction for it is not on every machine, and the compilers call a function
  // then.
  bits -= bits >> 1 & 0x5555555555555555;
  bits = (bits & 0x3333333333333333) + (bits >> 2 & 0x3333333333333333);
  bits = (bits + (bits >> 4)) & 0x0F0F0F0F0F0F0F0F;
  return static_cast<unsigned>(bits * 0x0101010101010101 >> 56);
}

// Positions are taken from a word of bits some at a time, whether or not there are so many: nothing tells how
// many there will be, and a wrong guess of the processor's takes longer than some positions for nothing.
constexpr std::size_t kPositionsAtOnce = 8;

// Appends the positions of the bits set, counted from `base`; may write kPositionsAtOnce behind them. Answers
// their end.
std::uint32_t* appendPositions(std::uint64_t bits, std::size_t base, std::uint32_t* positions) {
  std::uint32_t* const end = positions + countOf(bits);
  do {
    for (std::size_t i = 0; i < kPositionsAtOnce; ++i) {
      positions[i] = static_cast<std::uint32_t>(base + static_cast<std::size_t>(std::countr_zero(bits)));
      bits &= bits - 1;
    }
    positions += kPositionsAtOnce;
  } while (bits != 0);
  return end;
}

// Appends a run as matches, none shorter or longer than deflate allows.
void appendRun(std::uint32_t literals, std::size_t length, DeflateTokens& tokens) {
  while (length > kLongestMatch) {
    const std::size_t taken =
        length - kLongestMatch < kShortestMatch ? length - kShortestMatch : kLongestMatch;
    tokens.push_back({literals, static_cast<std::uint16_t>(taken), 1});
    literals = 0;
    length -= taken;
  }
  tokens.push_back({literals, static_cast<std::uint16_t>(length), 1});
}

}  // namespace

// Runs and what lies between them are each at least one byte long.
RunParser::RunParser(std::size_t bytes) : bounds_(bytes / kShortestRun * 2 + 2 * kPositionsAtOnce) {}

std::span<const std::uint32_t> RunParser::findBounds(std::span<const std::uint8_t> data) noexcept {
  std::uint32_t* end = bounds_.data();
  std::uint64_t here = repetitions(data, 0);
  std::uint64_t beginningBefore = 0;
  std::uint64_t runsBefore = 0;
  for (std::size_t at = 0; at < data.size(); at += kWindow) {
    const std::uint64_t following = repetitions(data, at + kWindow);
    const std::uint64_t beginning = beginningRuns(here, following);
    const std::uint64_t runs = wholeRuns(beginning, beginningBefore);
    end = appendPositions(runs ^ shiftedUp(runs, runsBefore, 1), at, end);
    here = following;
    beginningBefore = beginning;
    runsBefore = runs;
  }
  const bool lastIsOpen = (end - bounds_.data()) % 2 != 0;
  if (lastIsOpen) *end++ = static_cast<std::uint32_t>(data.size());
  return {bounds_.data(), end};
}

void RunParser::parse(std::span<const std::uint8_t> data, DeflateTokens& tokens) {
  tokens.clear();
  const auto bounds = findBounds(data);
  std::uint32_t literalsFrom = 0;
  for (std::size_t i = 0; i < bounds.size(); i += 2) {
    appendRun(bounds[i] - literalsFrom, bounds[i + 1] - bounds[i], tokens);
    literalsFrom = bounds[i + 1];
  }
  tokens.push_back({static_cast<std::uint32_t>(data.size()) - literalsFrom, 0, 0});
}

double estimateRepetitions(std::span<const std::uint8_t> data) {
  constexpr std::size_t kSampleDistance = 8 * kWindow;
  std::size_t samples = 0;
  std::size_t repeated = 0;
  for (std::size_t at = 1; at + kWindow <= data.size(); at += kSampleDistance, samples += kWindow)
    repeated += countOf(repetitions(data.data() + at));
  return samples == 0 ? 0 : static_cast<double>(repeated) / static_cast<double>(samples);
}

}  // namespace picture
