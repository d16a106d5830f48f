// What uses faster instructions where the processor has them answers the same as by those that every
// processor has. (On a processor without them there is nothing to compare, and these tests show as much.)

#include <cmath>
#include <random>

#include <gtest/gtest.h>

#include "picture/png/BitPositions.h"
#include "picture/png/DeflateTokenWriter.h"
#include "picture/png/HuffmanCode.h"
#include "picture/png/LiteralHistogram.h"
#include "picture/png/MatchFinder.h"
#include "picture/png/StripScan.h"
#include "tests/picture/StripTokens.h"

namespace {

using picture::DeflateToken;
using picture::DeflateTokens;
using picture::MatchFinder;
using Bytes = std::vector<std::uint8_t>;
using Lengths = MatchFinder::Search::Lengths;

// Filtered pixels: the larger `spread`, the noisier. In many pixels all channels change by the same amount,
// which makes matches.
Bytes residuals(std::size_t size, double spread, std::mt19937& random) {
  std::normal_distribution<double> amounts(0, spread);
  Bytes bytes;
  while (bytes.size() < size) {
    const auto amount = static_cast<std::uint8_t>(std::lround(amounts(random)));
    bytes.insert(bytes.end(), random() % 4 == 0 ? 1 : 3, amount);
  }
  bytes.resize(size);
  return bytes;
}

constexpr MatchFinder::Search kSearch{Lengths::All, 13};

DeflateTokens tokensOf(const Bytes& data) {
  picture::StripScan scan(data.size());
  return camera_shot_test::tokensOf(data, scan, kSearch);
}

struct CodeLengths {
  picture::LiteralCodeLengths literals{};
  picture::DistanceCodeLengths distances{};
};

// The codes that suit the tokens; each literal has one.
CodeLengths codeLengthsFor(const Bytes& data, const DeflateTokens& tokens) {
  std::vector<std::uint32_t> literals(picture::kLiteralSymbols, 1);
  std::vector<std::uint32_t> distances(picture::kDistanceSymbols, 1);
  const std::uint8_t* at = data.data();
  for (const DeflateToken& token : tokens) {
    for (std::uint32_t i = 0; i < token.literals; ++i)
      ++literals[*at++];
    at += token.length;
    if (token.length == 0) continue;
    ++literals[picture::kFirstLengthSymbol + picture::kLengthSymbols[token.length].symbol];
    ++distances[picture::distanceSymbol(token.distance).symbol];
  }
  CodeLengths lengths;
  picture::buildCodeLengths(literals, picture::kLongestLiteralCode, lengths.literals);
  picture::buildCodeLengths(distances, picture::kLongestDistanceCode, lengths.distances);
  return lengths;
}

// `bitsBefore` bits of other things stand before the tokens.
Bytes written(picture::TokenWriter& write, const Bytes& data, const DeflateTokens& tokens,
              const CodeLengths& lengths, unsigned bitsBefore) {
  Bytes out(2 * data.size() + 1024);
  picture::BitWriter writer(out.data());
  writer.put((1U << bitsBefore) - 1, bitsBefore);
  writer.flush();
  write(data, tokens, lengths.literals, lengths.distances, writer);
  writer.alignToByte();
  out.resize(static_cast<std::size_t>(writer.position() - out.data()));
  return out;
}

void expectWrittenAlike(const Bytes& data, const DeflateTokens& tokens, unsigned bitsBefore) {
  const CodeLengths lengths = codeLengthsFor(data, tokens);
  const Bytes portably = written(*picture::tokenWriters().front(), data, tokens, lengths, bitsBefore);
  for (picture::TokenWriter* const writer : picture::tokenWriters().subspan(1))
    EXPECT_EQ(written(*writer, data, tokens, lengths, bitsBefore), portably)
        << data.size() << " bytes, " << tokens.size() << " tokens";
}

TEST(SameOnEveryProcessor, TokensOfSmoothAndOfNoisyPhotographs) {
  std::mt19937 random(5);
  for (const double spread : {0.3, 0.8, 2.0, 5.0, 12.0, 40.0, 100.0}) {
    const Bytes data = residuals(120'000, spread, random);
    for (unsigned bitsBefore = 0; bitsBefore < 8; ++bitsBefore)
      expectWrittenAlike(data, tokensOf(data), bitsBefore);
  }
}

TEST(SameOnEveryProcessor, TokensOfAnySize) {
  std::mt19937 random(6);
  for (std::size_t size = 1; size < 300; ++size) {
    const Bytes data = residuals(size, 3, random);
    expectWrittenAlike(data, {{static_cast<std::uint32_t>(size), 0, 0}}, 3);
    expectWrittenAlike(data, tokensOf(data), 3);
  }
}

TEST(SameOnEveryProcessor, TokensWithEachLengthAndDistance) {
  std::mt19937 random(7);
  DeflateTokens tokens;
  std::uint32_t bytes = picture::kLargestDistance;
  tokens.push_back({bytes, 0, 0});
  const auto append = [&](std::uint32_t length, std::uint32_t distance) {
    tokens.push_back({static_cast<std::uint32_t>(random() % 70), static_cast<std::uint16_t>(length),
                      static_cast<std::uint16_t>(distance)});
    bytes += tokens.back().literals + length;
  };
  for (std::uint32_t length = picture::kShortestMatch; length <= picture::kLongestMatch; ++length)
    append(length, 1 + random() % 300);
  for (std::uint32_t distance = 1; distance <= picture::kLargestDistance; distance += 1 + distance / 20)
    append(3 + random() % 9, distance);
  append(258, picture::kLargestDistance);
  tokens.push_back({0, 0, 0});
  expectWrittenAlike(residuals(bytes, 6, random), tokens, 0);
}

TEST(SameOnEveryProcessor, FrequenciesOfLiterals) {
  std::mt19937 random(10);
  for (const double spread : {0.3, 0.8, 2.0, 5.0, 40.0}) {
    const Bytes data = residuals(120'011, spread, random);
    picture::StripScan scan(data.size());
    const DeflateTokens tokens = camera_shot_test::tokensOf(data, scan, kSearch);
    EXPECT_EQ(picture::literalHistogram(data, tokens, scan.matched()),
              picture::literalHistogramPortably(data, tokens, scan.matched()));
  }
}

TEST(SameOnEveryProcessor, PositionsOfBits) {
  std::mt19937_64 random(8);
  for (unsigned thinning = 0; thinning < 6; ++thinning) {
    std::vector<std::uint64_t> words(1000, ~std::uint64_t{0});
    for (std::size_t i = 10; i < words.size(); ++i)
      for (unsigned times = 0; times < thinning + i % 3; ++times)
        words[i] &= random();
    const auto listedBy = [&words](auto list) {
      std::vector<std::uint32_t> positions(64 * words.size() + picture::kPositionsSlack);
      positions.resize(static_cast<std::size_t>(list(words, positions.data()) - positions.data()));
      return positions;
    };
    const auto portably = listedBy(picture::listPositionsPortably);
    EXPECT_EQ(listedBy(picture::listPositions), portably);
    ASSERT_GE(portably.size(), 640U);
    EXPECT_EQ(portably[639], 639U);
  }
}

TEST(SameOnEveryProcessor, Matches) {
  std::mt19937 random(9);
  const auto asNumbers = [](std::span<const picture::Match> matches) {
    std::vector<std::uint32_t> numbers;
    for (const picture::Match& match : matches)
      numbers.insert(numbers.end(), {match.position, match.length, match.distance});
    return numbers;
  };
  for (const Lengths lengths : {Lengths::Long, Lengths::Short, Lengths::All}) {
    for (const double spread : {0.3, 0.8, 2.0}) {
      const Bytes data = residuals(120'000, spread, random);
      picture::StripScan scan(data.size());
      scan.scan(data);
      MatchFinder finder(data.size());
      const auto found = asNumbers(finder.find(data, scan.repetitions(), {lengths, 13}));
      EXPECT_EQ(found, asNumbers(finder.findPortably(data, scan.repetitions(), {lengths, 13})));
      EXPECT_FALSE(found.empty()) << spread;
    }
  }
}

}  // namespace
