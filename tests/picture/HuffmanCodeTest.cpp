#include <algorithm>
#include <cmath>
#include <numeric>
#include <random>
#include <set>
#include <vector>

#include <gtest/gtest.h>

#include "picture/png/HuffmanCode.h"

namespace camera_shot_test {
namespace {

using picture::buildCodeLengths;
using picture::buildCodes;

std::vector<std::uint8_t> lengthsFor(const std::vector<std::uint32_t>& frequencies, unsigned maximum) {
  std::vector<std::uint8_t> lengths(frequencies.size());
  picture::buildCodeLengths(frequencies, maximum, lengths);
  return lengths;
}

// The Kraft sum in units of 2^-15; a complete code has 2^15.
std::uint32_t kraftSum(const std::vector<std::uint8_t>& lengths) {
  std::uint32_t sum = 0;
  for (const std::uint8_t length : lengths)
    sum += length == 0 ? 0 : 1U << (15 - length);
  return sum;
}

TEST(HuffmanCode, GivesTheRarestTheLongest) {
  EXPECT_EQ(lengthsFor({1, 1, 2, 4, 8}, 15), (std::vector<std::uint8_t>{4, 4, 3, 2, 1}));
}

TEST(HuffmanCode, GivesAtLeastTwoSymbolsACode) {
  EXPECT_EQ(lengthsFor({0, 0, 0}, 7), (std::vector<std::uint8_t>{1, 1, 0}));
  EXPECT_EQ(lengthsFor({0, 0, 9}, 7), (std::vector<std::uint8_t>{1, 0, 1}));
  EXPECT_EQ(lengthsFor({9, 0, 0}, 7), (std::vector<std::uint8_t>{1, 1, 0}));
}

TEST(HuffmanCode, IsCompleteWithinItsLimitForAnyFrequencies) {
  std::mt19937 random(1);
  for (int round = 0; round < 3000; ++round) {
    const unsigned maximum = round % 3 == 0 ? 7 : round % 3 == 1 ? 14 : 15;
    std::vector<std::uint32_t> frequencies(maximum == 7 ? 19 : 286);
    const double steepness = 0.05 * static_cast<double>(random() % 40);
    for (std::size_t i = 0; i < frequencies.size(); ++i) {
      const double frequency = 1e7 * std::exp(-steepness * static_cast<double>(i));
      frequencies[i] = random() % 8 == 0 ? 0 : static_cast<std::uint32_t>(frequency) + random() % 3;
    }
    std::shuffle(frequencies.begin(), frequencies.end(), random);
    const auto lengths = lengthsFor(frequencies, maximum);
    ASSERT_EQ(kraftSum(lengths), 1U << 15) << "round " << round;
    ASSERT_LE(*std::max_element(lengths.begin(), lengths.end()), maximum);
    for (std::size_t i = 0; i < frequencies.size(); ++i) {
      ASSERT_TRUE(frequencies[i] == 0 || lengths[i] > 0);
    }
  }
}

TEST(HuffmanCode, RepairsTheSteepestTree) {
  // Fibonacci numbers make a tree as deep as it has leaves.
  std::vector<std::uint32_t> frequencies = {1, 1};
  while (frequencies.size() < 40)
    frequencies.push_back(frequencies.back() + frequencies[frequencies.size() - 2]);
  const auto lengths = lengthsFor(frequencies, 14);
  EXPECT_EQ(kraftSum(lengths), 1U << 15);
  EXPECT_TRUE(std::is_sorted(lengths.rbegin(), lengths.rend()));
}

TEST(HuffmanCode, NumbersCodesAsTheFormatsExampleDoes) {
  // The example of RFC 1951, 3.2.2, with the bits of each code in reverse.
  const std::vector<std::uint8_t> lengths = {3, 3, 3, 3, 3, 2, 4, 4};
  std::vector<std::uint16_t> codes(lengths.size());
  picture::buildCodes(lengths, codes);
  EXPECT_EQ(codes, (std::vector<std::uint16_t>{0b010, 0b110, 0b001, 0b101, 0b011, 0b00, 0b0111, 0b1111}));
}

}  // namespace
}  // namespace camera_shot_test
