#include "picture/png/LiteralHistogram.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "picture/ByteVector.h"
#include "picture/png/RepetitionBits.h"

namespace picture {
namespace {

// Of every period the first bytes are in the sample. An eighth of a photograph's strip makes codes that are
// worse by a few hundredths of a percent.
constexpr std::size_t kPeriod = 4 * kByteVectorSize;
constexpr std::size_t kSampledOfPeriod = 8;
constexpr std::uint32_t kSampleFactor = kPeriod / kSampledOfPeriod;

// With fewer literals than this a sample would say too little, and counting them all takes little.
constexpr std::size_t kFewLiterals = std::size_t{16} * 1024;

// Filtered photographs are small numbers around zero. What is so far from zero that at most one byte in so
// many is as far is rare: too rare for a sample, and rare enough to be counted one by one.
constexpr std::uint32_t kRareFraction = 128;

std::size_t literalCount(std::span<const DeflateToken> tokens) {
  std::size_t count = 0;
  for (const DeflateToken& token : tokens)
    count += token.literals;
  return count;
}

Histogram countAll(std::span<const std::uint8_t> data, std::span<const DeflateToken> tokens) {
  Histogram counts{};
  for (const DeflateToken& token : tokens) {
    for (const std::uint8_t byte : data.first(token.literals))
      ++counts[byte];
    data = data.subspan(token.literals + token.length);
  }
  return counts;
}

struct Sample {
  Histogram all{};
  Histogram literals{};
};

// The bytes of the sample. `data` is made of whole periods. Counted in four tables, so that equal neighbours
// do not wait for each other's store; and literals in the upper half of a count, all in the lower one, which
// a strip of less than two megabytes does not fill.
Sample countSample(std::span<const std::uint8_t> data, const std::uint64_t* matched) {
  constexpr unsigned kHalf = 16;
  std::array<Histogram, 4> counts{};
  for (std::size_t at = 0; at < data.size(); at += kPeriod) {
    std::uint64_t word = 0;
    static_assert(sizeof word == kSampledOfPeriod);
    static_assert(kPeriod == kRepetitionWindow);
    std::memcpy(&word, data.data() + at, sizeof word);
    const std::uint64_t literal = ~*matched++;
    for (unsigned lane = 0; lane < kSampledOfPeriod; ++lane)
      counts[lane % 4][word >> (8 * lane) & 0xFF] += 1 + ((literal >> lane & 1) << kHalf);
  }
  Sample sample;
  for (std::size_t byte = 0; byte < 256; ++byte) {
    for (const Histogram& table : counts) {
      sample.all[byte] += table[byte] & ((1U << kHalf) - 1);
      sample.literals[byte] += table[byte] >> kHalf;
    }
  }
  return sample;
}

// The largest distance from zero that is not rare.
unsigned usualReach(const Histogram& sample) {
  std::uint32_t total = 0;
  for (const std::uint32_t count : sample)
    total += count;
  unsigned reach = 127;
  std::uint32_t beyond = sample[128];
  while (reach > 0 && (beyond += sample[reach] + sample[256 - reach]) <= total / kRareFraction)
    --reach;
  return reach;
}

bool isRare(unsigned byte, unsigned reach) {
  return ((byte + reach) & 0xFF) > 2 * reach;
}

// Counts the rare bytes outside of the sample, within matches or not: hardly any of those is part of a match.
Histogram countRare(std::span<const std::uint8_t> data, unsigned reach) {
  const auto everywhere = [](unsigned value) { return ByteVector{} + static_cast<std::uint8_t>(value); };
  const ByteVector offset = everywhere(reach);
  const ByteVector limit = everywhere(2 * reach);
  Histogram counts{};
  for (std::size_t at = 0; at < data.size(); at += kPeriod) {
    std::uint64_t usual = 0;
    for (std::size_t part = 0; part < kPeriod; part += kByteVectorSize)
      usual |= static_cast<std::uint64_t>(
                   bitsOf(equalMask(larger(load(data.data() + at + part) + offset, limit), limit)))
               << part;
    for (std::uint64_t rare = ~usual >> kSampledOfPeriod; rare != 0; rare &= rare - 1)
      ++counts[data[at + kSampledOfPeriod + static_cast<unsigned>(std::countr_zero(rare))]];
  }
  return counts;
}

}  // namespace

Histogram literalHistogram(std::span<const std::uint8_t> data, std::span<const DeflateToken> tokens,
                           std::span<const std::uint64_t> matched) noexcept {
  if (literalCount(tokens) < kFewLiterals) return countAll(data, tokens);
  const auto whole = data.first(data.size() / kPeriod * kPeriod);
  const Sample sample = countSample(whole, matched.data());
  const unsigned reach = usualReach(sample.all);
  const Histogram rare = countRare(whole, reach);
  Histogram counts{};
  for (unsigned byte = 0; byte < 256; ++byte) {
    // One more, as not being in the sample does not mean not to occur.
    counts[byte] =
        isRare(byte, reach) ? sample.all[byte] + rare[byte] : kSampleFactor * sample.literals[byte] + 1;
  }
  for (const std::uint8_t byte : data.subspan(whole.size()))
    ++counts[byte];
  return counts;
}

}  // namespace picture
