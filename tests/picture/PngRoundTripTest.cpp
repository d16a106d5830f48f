#include <algorithm>
#include <random>

#include <gtest/gtest.h>

#include "tests/picture/PngReading.h"

namespace camera_shot_test {
namespace {

// What a strip of rows is cut at, so that pictures just below, at and above a whole number of strips are
// tried.
constexpr std::uint32_t kStripBytes = 112 * 1024;

void expectRoundTrip(const Picture& picture, const std::string& what) {
  for (const unsigned threads : {1U, 2U, 3U}) {
    const Bytes png = encodePng(picture, threads);
    EXPECT_TRUE(parsePng(png).has_value()) << what << ", " << threads << " threads";
    EXPECT_TRUE(decodePng(png) == picture)
        << what << ", " << picture.width << "x" << picture.height << ", " << threads << " threads";
  }
}

std::vector<std::pair<std::string, Picture>> everyKind(std::uint32_t width, std::uint32_t height) {
  return {{"noise", noisePicture(width, height, 1)},       {"photo", photoPicture(width, height, 2)},
          {"grey photo", greyPicture(width, height, 3)},   {"gradient", gradientPicture(width, height)},
          {"drawn", drawnPicture(width, height, 4)},       {"black", flatPicture(width, height, 0x000000)},
          {"white", flatPicture(width, height, 0xFFFFFF)}, {"flat", flatPicture(width, height, 0x123456)}};
}

TEST(PngRoundTrip, KeepsEverySmallSize) {
  for (const auto& [width, height] : {std::pair{1U, 1U},
                                      {1U, 300U},
                                      {300U, 1U},
                                      {2U, 2U},
                                      {5U, 7U},
                                      {6U, 3U},
                                      {16U, 16U},
                                      {17U, 9U},
                                      {31U, 64U},
                                      {333U, 77U}}) {
    for (const auto& [what, picture] : everyKind(width, height))
      expectRoundTrip(picture, what);
  }
}

TEST(PngRoundTrip, KeepsEveryWidthAroundAVector) {
  for (std::uint32_t width = 1; width <= 40; ++width)
    expectRoundTrip(photoPicture(width, 5, width), "photo");
}

TEST(PngRoundTrip, KeepsPicturesAroundStripBorders) {
  const std::uint32_t width = 1001;
  const std::uint32_t rows = kStripBytes / (3 * width);
  for (const std::uint32_t strips : {1U, 2U, 5U}) {
    for (const std::uint32_t height : {strips * rows - 1, strips * rows, strips * rows + 1}) {
      for (const auto& [what, picture] : everyKind(width, height))
        expectRoundTrip(picture, what);
    }
  }
}

TEST(PngRoundTrip, KeepsRowsLongerThanAStrip) {
  for (const auto& [what, picture] : everyKind(32767, 3))
    expectRoundTrip(picture, what);
  expectRoundTrip(photoPicture(3, 32767, 5), "narrow photo");
}

TEST(PngRoundTrip, KeepsAlternatingPixels) {
  expectRoundTrip(drawPicture(640, 300, [](auto x, auto) { return x % 2 == 0 ? 0xFFFFFFU : 0U; }), "columns");
  expectRoundTrip(drawPicture(640, 300, [](auto, auto y) { return y % 2 == 0 ? 0xFFFFFFU : 0U; }), "rows");
  expectRoundTrip(
      drawPicture(640, 300, [](auto x, auto y) { return (x + y) % 2 == 0 ? 0x80FF01U : 0x7F00FEU; }),
      "checks");
}

// One kind of row after another, within a strip and strip by strip, so that every way of coding meets every
// other.
TEST(PngRoundTrip, KeepsMixtures) {
  const std::vector<std::pair<std::string, Picture>> kinds = everyKind(700, 1000);
  const std::uint32_t strip = kStripBytes / 2100;
  for (std::uint32_t period : {1U, 3U, 20U, strip, 70U, 2 * strip}) {
    Picture mixed = kinds.front().second;
    for (std::uint32_t y = 0; y < mixed.height; ++y) {
      const Picture& from = kinds[y / period % kinds.size()].second;
      std::copy_n(from.pixels.begin() + y * 2100, 2100, mixed.pixels.begin() + y * 2100);
    }
    expectRoundTrip(mixed, "mixture of period " + std::to_string(period));
  }
}

TEST(PngRoundTrip, KeepsRunsOfAnyLengthAnywhere) {
  std::mt19937 random(6);
  for (int round = 0; round < 120; ++round) {
    const std::uint32_t width = 1 + random() % 400;
    const std::uint32_t height = 1 + random() % 300;
    const std::uint32_t longest = 1U << random() % 12;
    std::uint32_t left = 0;
    std::uint32_t color = 0;
    const Picture picture = drawPicture(width, height, [&](auto, auto) {
      if (left == 0) {
        left = 1 + random() % longest;
        color = random() % 4 == 0 ? color : static_cast<std::uint32_t>(random());
      }
      --left;
      return color;
    });
    expectRoundTrip(picture, "runs, round " + std::to_string(round));
  }
}

TEST(PngRoundTrip, WritesTheSameBytesWithAnyNumberOfThreads) {
  for (const auto& [what, picture] : everyKind(1280, 720)) {
    const Bytes png = encodePng(picture, 1);
    EXPECT_TRUE(encodePng(picture, 2) == png) << what;
    EXPECT_TRUE(encodePng(picture, 3) == png) << what;
    EXPECT_TRUE(encodePng(picture, 64) == png) << what;
  }
}

TEST(PngRoundTrip, NeverGrowsNoiseByMoreThanAHundredth) {
  const Picture noise = noisePicture(800, 600, 7);
  EXPECT_LT(encodePng(noise, 1).size(), noise.pixels.size() + noise.pixels.size() / 100);
}

}  // namespace
}  // namespace camera_shot_test
