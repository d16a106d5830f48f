// How strips are divided, counted and coded, where a whole picture would hardly meet the case.

#include <random>
#include <zlib.h>

#include <gtest/gtest.h>

#include "picture/png/DeflateTokenWriter.h"
#include "picture/png/HuffmanCode.h"
#include "picture/png/LiteralHistogram.h"
#include "picture/png/RunParser.h"
#include "picture/png/StripCoder.h"

namespace {

using picture::DeflateToken;
using picture::DeflateTokens;
using picture::literalHistogram;
using picture::RunParser;
using picture::StripCoder;

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

Bytes expand(const Bytes& data, const picture::DeflateTokens& tokens) {
  Bytes out;
  for (const picture::DeflateToken& token : tokens) {
    const auto from = data.begin() + static_cast<std::ptrdiff_t>(out.size());
    out.insert(out.end(), from, from + token.literals);
    for (unsigned i = 0; i < token.length; ++i)
      out.push_back(out.at(out.size() - token.distance));
  }
  return out;
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

void expectAllRunsFound(const Bytes& data) {
  picture::RunParser parser(kStrip);
  picture::DeflateTokens tokens;
  parser.parse(data, tokens);
  ASSERT_EQ(expand(data, tokens), data);
  std::size_t matched = 0;
  for (const picture::DeflateToken& token : tokens) {
    ASSERT_TRUE(token.length == 0 || (token.length >= 3 && token.length <= 258)) << token.length;
    matched += token.length;
  }
  EXPECT_EQ(matched, repeatedBytes(data)) << data.size() << " bytes";
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

TEST(RunParser, FindsAllRunsInAnySize) {
  std::mt19937 random(1);
  for (std::size_t size = 0; size < 300; ++size)
    expectAllRunsFound(bytesWithRuns(size, random));
  expectAllRunsFound(bytesWithRuns(kStrip, random));
}

TEST(RunParser, FindsARunAnywhereAcrossTheBorderOfWords) {
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

TEST(RunParser, DividesLongRuns) {
  for (std::size_t length = 250; length < 800; ++length)
    expectAllRunsFound(Bytes(length, 7));
  expectAllRunsFound(Bytes(kStrip, 0));
}

TEST(DeflateTokenWriter, WritesTheSameByInstructionsThatEveryProcessorHas) {
  std::mt19937 random(5);
  const Bytes data = bytesWithRuns(kStrip, random);
  DeflateTokens tokens;
  RunParser(kStrip).parse(data, tokens);
  picture::LiteralCodeLengths literalLengths{};
  picture::DistanceCodeLengths distanceLengths{};
  picture::buildCodeLengths(std::vector<std::uint32_t>(literalLengths.size(), 1),
                            picture::kLongestLiteralCode, literalLengths);
  picture::buildCodeLengths(std::vector<std::uint32_t>(distanceLengths.size(), 1),
                            picture::kLongestDistanceCode, distanceLengths);
  const auto writtenBy = [&](auto write) {
    Bytes out(picture::StripCoder::codedBound(data.size()));
    picture::BitWriter writer(out.data());
    write(data, tokens, literalLengths, distanceLengths, writer);
    out.resize(static_cast<std::size_t>(writer.position() - out.data()));
    return out;
  };
  const Bytes portably = writtenBy(picture::writeTokensPortably);
  EXPECT_GT(portably.size(), data.size() / 8);
  EXPECT_EQ(writtenBy(picture::writeTokens), portably);
}

TEST(LiteralHistogram, CountsFewLiteralsOneByOne) {
  std::mt19937 random(2);
  const Bytes data = bytesWithRuns(10'000, random);
  const picture::DeflateTokens tokens = {{10'000, 0, 0}};
  const auto counts = picture::literalHistogram(data, tokens);
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
  const picture::DeflateTokens tokens = {{static_cast<std::uint32_t>(data.size()), 0, 0}};
  const auto counts = picture::literalHistogram(data, tokens);
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
  picture::DeflateTokens runs;
  picture::DeflateTokens matches;
  for (std::size_t at = 0; at < data.size(); at += 100) {
    runs.push_back({at == 0 ? 1U : 61U, 39, 1});
    if (at > 0) matches.push_back({at == 100 ? 100U : 60U, 40, 100});
  }
  runs.push_back({60, 0, 0});
  matches.push_back({60, 0, 0});
  EXPECT_NEAR(picture::literalHistogram(data, runs)[9], 1600, 400);
  EXPECT_LE(picture::literalHistogram(data, matches)[9], 200U);
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
