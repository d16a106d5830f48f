// How strips are divided, counted and coded, where a whole picture would hardly meet the case.

#include <optional>
#include <random>
#include <zlib.h>

#include <gtest/gtest.h>

#include "picture/png/LiteralHistogram.h"
#include "picture/png/MatchFinder.h"
#include "picture/png/StripCoder.h"
#include "picture/png/StripScan.h"
#include "tests/picture/StripTokens.h"

namespace {

using picture::DeflateToken;
using picture::DeflateTokens;
using picture::literalHistogram;
using picture::MatchFinder;
using picture::StripScan;

using Bytes = std::vector<std::uint8_t>;

constexpr std::size_t kStrip = 160'000;

// Bytes of which many equal their left neighbour.
Bytes bytesWithRuns(std::size_t size, std::mt19937& random) {
  Bytes bytes(size);
  std::uint8_t value = 0;
  for (std::uint8_t& byte : bytes) {
    if (random() % 4 == 0) value = static_cast<std::uint8_t>(random() % 3);
    byte = value;
  }
  return bytes;
}

// Pixels that changed by the same amount in all three channels: by 0 mostly, where `smoothness` is large.
Bytes greyChanges(std::size_t pixels, double smoothness, std::mt19937& random) {
  std::exponential_distribution<double> amounts(smoothness);
  Bytes bytes;
  for (std::size_t i = 0; i < pixels; ++i) {
    const auto amount = static_cast<int>(amounts(random)) * (random() % 2 == 0 ? 1 : -1);
    bytes.insert(bytes.end(), 3, static_cast<std::uint8_t>(amount));
  }
  return bytes;
}

Bytes expand(const Bytes& data, std::span<const DeflateToken> tokens) {
  Bytes out;
  for (const picture::DeflateToken& token : tokens) {
    const auto from = data.begin() + static_cast<std::ptrdiff_t>(out.size());
    out.insert(out.end(), from, from + token.literals);
    for (unsigned i = 0; i < token.length; ++i)
      out.push_back(out.at(out.size() - token.distance));
  }
  return out;
}

std::vector<std::uint64_t> noMatches(const Bytes& data) {
  return std::vector<std::uint64_t>(data.size() / 64 + 1);
}

// The bytes that are in runs of at least five repetitions.
std::size_t repeatedBytes(const Bytes& data) {
  std::size_t count = 0;
  for (std::size_t from = 1; from < data.size();) {
    std::size_t to = from;
    while (to < data.size() && data[to] == data[to - 1])
      ++to;
    if (to - from >= 5) count += to - from;
    from = std::max(to, from + 1);
  }
  return count;
}

DeflateTokens tokensOf(const Bytes& data, std::optional<MatchFinder::Search> search = {}) {
  StripScan scan(data.size());
  return camera_shot_test::tokensOf(data, scan, search);
}

// Answers how many bytes are within matches.
std::size_t expectValid(const Bytes& data, const DeflateTokens& tokens) {
  std::size_t matched = 0;
  EXPECT_EQ(expand(data, tokens), data);
  for (const DeflateToken& token : tokens) {
    EXPECT_TRUE(token.length == 0 || (token.length >= 3 && token.length <= 258)) << token.length;
    EXPECT_LE(token.distance, 32768);
    matched += token.length;
  }
  return matched;
}

void expectAllRunsFound(const Bytes& data) {
  EXPECT_EQ(expectValid(data, tokensOf(data)), repeatedBytes(data)) << data.size() << " bytes";
}

Bytes inflated(std::span<const std::uint8_t> coded, std::size_t size) {
  Bytes out(size + 1);
  z_stream stream{};
  EXPECT_EQ(inflateInit2(&stream, -15), Z_OK);
  stream.next_in = const_cast<Bytef*>(coded.data());
  stream.avail_in = static_cast<uInt>(coded.size());
  stream.next_out = out.data();
  stream.avail_out = static_cast<uInt>(out.size());
  EXPECT_EQ(inflate(&stream, Z_SYNC_FLUSH), Z_OK);
  EXPECT_EQ(stream.avail_in, 0U);
  out.resize(stream.total_out);
  inflateEnd(&stream);
  return out;
}

// Answers the size.
std::size_t codeAndCheck(const Bytes& data) {
  picture::StripCoder coder(data.size());
  Bytes out(picture::StripCoder::codedBound(data.size()));
  const std::size_t size = coder.code(data, out).value_or(0);
  if (size > 0) {
    EXPECT_EQ(inflated(std::span(out).first(size), data.size()), data);
  }
  return size;
}

TEST(Tokenizer, FindsAllRunsInAnySize) {
  std::mt19937 random(1);
  for (std::size_t size = 0; size < 300; ++size)
    expectAllRunsFound(bytesWithRuns(size, random));
  expectAllRunsFound(bytesWithRuns(kStrip, random));
}

TEST(Tokenizer, FindsARunAnywhereAcrossTheBorderOfWords) {
  for (std::size_t from = 0; from < 140; ++from) {
    for (std::size_t length = 1; length < 80; ++length) {
      Bytes data(300);
      for (std::size_t i = 0; i < data.size(); ++i)
        data[i] = static_cast<std::uint8_t>(i);
      std::fill_n(data.begin() + static_cast<std::ptrdiff_t>(from), length, std::uint8_t{255});
      expectAllRunsFound(data);
    }
  }
}

TEST(Tokenizer, DividesLongRuns) {
  for (std::size_t length = 250; length < 800; ++length)
    expectAllRunsFound(Bytes(length, 7));
  expectAllRunsFound(Bytes(kStrip, 0));
}

TEST(LiteralHistogram, CountsFewLiteralsOneByOne) {
  std::mt19937 random(2);
  const Bytes data = bytesWithRuns(10'000, random);
  const DeflateTokens tokens = {{10'000, 0, 0}};
  const auto counts = literalHistogram(data, tokens, noMatches(data));
  for (unsigned byte = 0; byte < 256; ++byte)
    EXPECT_EQ(counts[byte], std::count(data.begin(), data.end(), byte)) << byte;
}

TEST(LiteralHistogram, KnowsEveryByteThatOccursAndAboutHowOften) {
  std::mt19937 random(3);
  std::normal_distribution<double> residuals(0, 3);
  Bytes data(kStrip);
  for (std::uint8_t& byte : data)
    byte = static_cast<std::uint8_t>(std::lround(residuals(random)));
  for (std::size_t i = 0; i < 256; ++i)
    data[i * 601 % data.size()] = static_cast<std::uint8_t>(i);  // the rarest too
  const DeflateTokens tokens = {{static_cast<std::uint32_t>(data.size()), 0, 0}};
  const auto counts = literalHistogram(data, tokens, noMatches(data));
  for (unsigned byte = 0; byte < 256; ++byte) {
    const auto exact = static_cast<double>(std::count(data.begin(), data.end(), byte));
    EXPECT_GE(counts[byte], 1U) << byte;
    EXPECT_NEAR(counts[byte], exact, 10 + 8 * std::sqrt(exact)) << byte;
  }
}

TEST(LiteralHistogram, LeavesOutWhatIsWithinMatches) {
  Bytes data(kStrip);
  for (std::size_t i = 0; i < data.size(); ++i)
    data[i] = i % 100 < 40 ? 9 : static_cast<std::uint8_t>(i * 2654435761 >> 13 & 7);
  const std::size_t nines = static_cast<std::size_t>(std::count(data.begin(), data.end(), 9));
  StripScan scan(data.size());
  const DeflateTokens tokens = camera_shot_test::tokensOf(data, scan);
  ASSERT_NEAR(static_cast<double>(expectValid(data, tokens)), 0.975 * static_cast<double>(nines), 100);
  EXPECT_NEAR(literalHistogram(data, tokens, scan.matched())[9], 1600, 400);
}

TEST(LiteralHistogram, KnowsBytesOfRunsOfWhichTooLittleIsLeft) {
  // The rest of a run that is too short for a match is literals again: each needs a code, however rare.
  std::mt19937 random(8);
  std::normal_distribution<double> residuals(0, 3);
  Bytes data(kStrip);
  for (std::uint8_t& byte : data)
    byte = static_cast<std::uint8_t>(std::lround(residuals(random)));
  std::vector<std::uint64_t> matched = noMatches(data);
  for (std::size_t at = 0; at + 64 < data.size(); at += 64 * 20) {
    std::fill_n(data.begin() + static_cast<std::ptrdiff_t>(at), 3, std::uint8_t{200});
    matched[at / 64] |= 7;
  }
  const DeflateTokens tokens = {{static_cast<std::uint32_t>(data.size()), 0, 0}};
  EXPECT_GE(literalHistogram(data, tokens, matched)[200], 1U);
}

TEST(MatchFinder, FindsWhatGreyPixelsRepeat) {
  using Lengths = MatchFinder::Search::Lengths;
  std::mt19937 random(9);
  for (const Lengths lengths : {Lengths::Long, Lengths::Short, Lengths::All}) {
    const Bytes once = greyChanges(2'000, 0.3, random);
    Bytes data = once;
    data.insert(data.end(), once.begin(), once.end());
    const std::size_t matched = expectValid(data, tokensOf(data, {{lengths, 13}}));
    EXPECT_GE(matched, once.size() * 99 / 100);
  }
}

TEST(MatchFinder, DividesAnySize) {
  using Lengths = MatchFinder::Search::Lengths;
  std::mt19937 random(10);
  for (const Lengths lengths : {Lengths::Long, Lengths::Short, Lengths::All}) {
    for (std::size_t pixels = 1; pixels < 400; ++pixels) {
      const Bytes data = greyChanges(pixels, 1.2, random);
      expectValid(data, tokensOf(data, {{lengths, 13}}));
    }
    const Bytes data = greyChanges(kStrip / 3, 1.2, random);
    EXPECT_GT(expectValid(data, tokensOf(data, {{lengths, 13}})), repeatedBytes(data));
  }
}

TEST(MatchFinder, LeavesRunsAloneThatTakeLess) {
  // Two pixels among zeros, again and again: a match would cost what it saves.
  Bytes data(kStrip);
  std::mt19937 random(11);
  for (std::size_t at = 300; at + 300 < data.size(); at += 300)
    std::fill_n(data.begin() + static_cast<std::ptrdiff_t>(at), 3,
                static_cast<std::uint8_t>(1 + random() % 2));
  for (const DeflateToken& token : tokensOf(data, {{MatchFinder::Search::Lengths::Long, 3}}))
    EXPECT_TRUE(token.length == 0 || token.distance == 1) << token.distance;
}

TEST(StripCoder, IsNotMisledByWhatItsSampleMisses) {
  // As regular as bytes get in every place that a sample of eight in 32 looks at, noise everywhere else, and
  // the other way round.
  std::mt19937 random(4);
  for (const bool noiseInSample : {false, true}) {
    Bytes data(kStrip);
    for (std::size_t i = 0; i < data.size(); ++i)
      data[i] = (i % 32 < 8) == noiseInSample ? static_cast<std::uint8_t>(random())
                                              : static_cast<std::uint8_t>(i % 2);
    EXPECT_LE(codeAndCheck(data), kStrip + 100);
  }
}

TEST(StripCoder, FindsWhatZlibFindsInGreyChanges) {
  // Smooth ones, as skies have them, to noisy ones: runs alone came to 1.2 to 1.5 times zlib's size.
  std::mt19937 random(12);
  for (const double smoothness : {1.6, 1.2, 0.5, 0.2}) {
    const Bytes data = greyChanges(kStrip / 3, smoothness, random);
    uLongf byZlib = compressBound(data.size());
    Bytes out(byZlib);
    ASSERT_EQ(compress(out.data(), &byZlib, data.data(), data.size()), Z_OK);
    EXPECT_LE(static_cast<double>(codeAndCheck(data)), 1.08 * static_cast<double>(byZlib)) << smoothness;
  }
}

TEST(StripCoder, FindsWhatZlibFindsInGreyChangesBetweenColourfulOnes) {
  // Of four pixels and of six that repeat: by long matches alone the first came to 1.6 times zlib's size, by
  // short ones the others to 1.3.
  std::mt19937 random(12);
  for (const std::size_t pixels : {4U, 6U}) {
    constexpr std::size_t kWords = 256;
    const Bytes words = greyChanges(pixels * kWords, 0.4, random);
    Bytes data;
    while (data.size() < kStrip) {
      const auto word = words.begin() + static_cast<std::ptrdiff_t>(random() % kWords * pixels * 3);
      data.insert(data.end(), word, word + static_cast<std::ptrdiff_t>(pixels * 3));
      for (int i = 0; i < 3; ++i)
        data.push_back(static_cast<std::uint8_t>(random() % 5 - 2));
    }
    uLongf byZlib = compressBound(data.size());
    Bytes out(byZlib);
    ASSERT_EQ(compress(out.data(), &byZlib, data.data(), data.size()), Z_OK);
    EXPECT_LE(static_cast<double>(codeAndCheck(data)), 1.2 * static_cast<double>(byZlib)) << pixels;
  }
}

TEST(StripCoder, StoresNoise) {
  std::mt19937 random(5);
  Bytes data(kStrip);
  for (std::uint8_t& byte : data)
    byte = static_cast<std::uint8_t>(random());
  EXPECT_LE(codeAndCheck(data), kStrip + 100);
}

TEST(StripCoder, CodesAnySize) {
  std::mt19937 random(6);
  for (std::size_t size = 1; size < 400; ++size)
    codeAndCheck(bytesWithRuns(size, random));
}

}  // namespace
