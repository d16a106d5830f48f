// Which filter a row gets, and that it can be undone.

#include <cstdlib>
#include <random>

#include <gtest/gtest.h>

#include "picture/png/PngFilter.h"
#include "tests/picture/TestPictures.h"

namespace camera_shot_test {
namespace {

constexpr unsigned kNone = 0;
constexpr unsigned kSub = 1;
constexpr unsigned kUp = 2;
constexpr unsigned kPaeth = 4;

constexpr std::size_t kPixel = 3;
constexpr std::uint32_t kWidth = 1000;
constexpr std::uint32_t kHeight = 64;

unsigned predicted(unsigned filter, unsigned left, unsigned above, unsigned aboveLeft) {
  if (filter == kSub) return left;
  if (filter == kUp) return above;
  if (filter != kPaeth) return 0;
  const int estimate = static_cast<int>(left + above) - static_cast<int>(aboveLeft);
  const auto distance = [=](unsigned value) { return std::abs(estimate - static_cast<int>(value)); };
  if (distance(left) <= distance(above) && distance(left) <= distance(aboveLeft)) return left;
  return distance(above) <= distance(aboveLeft) ? above : aboveLeft;
}

Bytes unfiltered(const Bytes& filtered, const Bytes& above) {
  Bytes row(above.size());
  for (std::size_t i = 0; i < row.size(); ++i) {
    const bool isFirst = i < kPixel;
    row[i] =
        static_cast<std::uint8_t>(filtered[i + 1] + predicted(filtered[0], isFirst ? 0U : row[i - kPixel],
                                                              above[i], isFirst ? 0U : above[i - kPixel]));
  }
  return row;
}

// How many rows but the first got each filter; all are undone and compared on the way.
std::vector<unsigned> filtersOf(const Picture& picture) {
  std::vector<unsigned> counts(5);
  const std::size_t rowBytes = picture.width * kPixel;
  Bytes above(rowBytes);
  for (std::uint32_t y = 0; y < picture.height; ++y) {
    const auto from = picture.pixels.begin() + static_cast<std::ptrdiff_t>(y * rowBytes);
    const Bytes row(from, from + static_cast<std::ptrdiff_t>(rowBytes));
    Bytes filtered(rowBytes + 1);
    picture::filterRow(row, above.data(), filtered.data());
    EXPECT_EQ(unfiltered(filtered, above), row) << "row " << y;
    for (picture::RowFilter* const filter : picture::rowFilters()) {
      Bytes alike(rowBytes + 1);
      filter(row, above.data(), alike.data());
      EXPECT_EQ(alike, filtered) << "row " << y;
    }
    if (y > 0) ++counts.at(filtered[0]);
    above = row;
  }
  return counts;
}

unsigned grey(unsigned level) {
  return (level & 0xFF) * 0x010101;
}

// A level for each column that goes up and down by one now and then.
std::vector<unsigned> wander(std::size_t count) {
  std::mt19937 random(1);
  std::vector<unsigned> levels(count, 100);
  for (std::size_t i = 1; i < count; ++i)
    levels[i] = levels[i - 1] + (random() % 3 == 0 ? random() % 3 - 1 : 0);
  return levels;
}

TEST(PngFilter, NoiseGetsPaeth) {
  EXPECT_EQ(filtersOf(photoPicture(kWidth, kHeight, 1))[kPaeth], kHeight - 1);
}

TEST(PngFilter, SmoothRowsWithTheStructureOfTheOnesAboveGetUp) {
  const auto levels = wander(kWidth);
  const auto picture = drawPicture(kWidth, kHeight, [&](auto x, auto y) { return grey(levels[x] + y % 8); });
  EXPECT_EQ(filtersOf(picture)[kUp], kHeight - 1);
}

// Paeth's takes over what the row above has of its own.
TEST(PngFilter, FlatRowsBelowRoughOnesGetSub) {
  std::mt19937 random(2);
  const auto picture = drawPicture(
      kWidth, kHeight, [&](auto, auto y) { return grey(100 + (y % 2 == 0 ? 0U : random() % 2)); });
  EXPECT_EQ(filtersOf(picture)[kSub], kHeight / 2 - 1);
}

TEST(PngFilter, BlackRowsStayAsTheyAre) {
  EXPECT_EQ(filtersOf(flatPicture(kWidth, kHeight, 0))[kNone], kHeight - 1);
}

TEST(PngFilter, RowsTooNarrowToSampleCanBeUndone) {
  for (std::uint32_t width = 1; width < 60; ++width) {
    const auto levels = wander(width);
    filtersOf(drawPicture(width, 9, [&](auto x, auto y) { return grey(levels[x] + y % 3); }));
  }
}

}  // namespace
}  // namespace camera_shot_test
