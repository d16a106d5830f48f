#include <algorithm>
#include <cmath>

#include <gtest/gtest.h>

#include "picture/PhotoRows.h"
#include "picture/PixelLayout.h"
#include "picture/RawRowSource.h"
#include "tests/picture/RawFrames.h"
#include "tests/picture/TestPictures.h"

namespace camera_shot_test {
namespace {

using picture::ColorMatrix;
using picture::ColorRange;
using picture::Frame;
using picture::PixelFormat;
using picture::RawRowSource;

/// Half a level is what rounding costs; the rest is for coefficients of 13 binary places, three of them off
/// by half a place each at the most, times luma of up to 239 and colour difference of up to 128.
constexpr double kHalfALevel = 0.5 + (239 + 2 * 128) * 0.5 / (1 << 13);

/// Of samples of sixteen bits the upper twelve count: what is left out is less than a sixteenth of a level,
/// times what luma and colour difference are multiplied by together.
double allowedError(PixelFormat format) {
  constexpr double kLeftOut = 1.0 / 16 * (255.0 / 219 + 255.0 / 224 * 2);
  return format == PixelFormat::v216 || format == PixelFormat::AYUV64 ? kHalfALevel + kLeftOut : kHalfALevel;
}

Picture deliver(const Frame& frame) {
  std::string failure;
  const auto source = RawRowSource::open(frame, failure);
  EXPECT_NE(source, nullptr) << failure;
  return source ? readAll(*source) : Picture{};
}

double worstError(const Frame& frame) {
  const Picture delivered = deliver(frame);
  EXPECT_EQ(delivered.width, static_cast<std::uint32_t>(frame.width));
  EXPECT_EQ(delivered.height, static_cast<std::uint32_t>(frame.height));
  double worst = delivered.pixels.empty() ? 255 : 0;
  for (std::size_t i = 0; i < delivered.pixels.size(); ++i) {
    const std::size_t pixel = i / 3;
    const auto exact =
        exactRgb(frame, static_cast<int>(pixel % delivered.width), static_cast<int>(pixel / delivered.width));
    worst = std::max(worst, std::abs(delivered.pixels[i] - exact[i % 3]));
  }
  return worst;
}

class RawPhoto : public testing::TestWithParam<PixelFormat> {};

TEST_P(RawPhoto, IsExactForEverySampleSizeAndStride) {
  for (const auto& [width, height] :
       {std::pair{1, 1}, {2, 2}, {3, 5}, {4, 3}, {17, 9}, {33, 4}, {64, 6}, {101, 7}})
    for (const int padding : {0, 1, 3, 13, 16})
      EXPECT_LE(worstError(noiseFrame(GetParam(), width, height, padding, 1)), allowedError(GetParam()))
          << width << "x" << height << "+" << padding;
}

TEST_P(RawPhoto, IsExactForEveryStatedColorimetry) {
  for (const auto matrix : {ColorMatrix::BT601, ColorMatrix::BT709, ColorMatrix::BT2020, ColorMatrix::FCC,
                            ColorMatrix::SMPTE240M}) {
    for (const auto range : {ColorRange::Unstated, ColorRange::Limited, ColorRange::Full}) {
      Frame frame = noiseFrame(GetParam(), 128, 64, 5, 2);
      frame.matrix = matrix;
      frame.range = range;
      EXPECT_LE(worstError(frame), allowedError(GetParam()))
          << static_cast<int>(matrix) << " " << static_cast<int>(range);
    }
  }
}

TEST_P(RawPhoto, NeedsEveryByteOfItsRowsButNotTheLastRowsPadding) {
  Frame frame = noiseFrame(GetParam(), 20, 10, 0, 3);
  std::string failure;
  frame.bytes.pop_back();
  EXPECT_EQ(RawRowSource::open(frame, failure), nullptr);
  EXPECT_EQ(failure.find("Plane "), 0U) << failure;
  frame.bytes.clear();
  EXPECT_EQ(RawRowSource::open(frame, failure), nullptr);
  EXPECT_EQ(failure, "Plane 0 is too small");

  frame = noiseFrame(GetParam(), 20, 10, 16, 3);
  frame.bytes.resize(frame.bytes.size() - 8);
  EXPECT_NE(RawRowSource::open(frame, failure), nullptr) << failure;
  frame.stride = 19;
  EXPECT_EQ(RawRowSource::open(frame, failure), nullptr);
  EXPECT_EQ(failure, "Rows are too short");
  frame.stride = -1;
  EXPECT_EQ(RawRowSource::open(frame, failure), nullptr);
}

TEST_P(RawPhoto, OfAnAbsurdSizeIsNone) {
  for (const auto& [width, height] :
       {std::pair{0, 10}, {20, 0}, {-1, 10}, {20, -1}, {40000, 1}, {1, 40000}, {32767, 32767}}) {
    Frame frame = noiseFrame(GetParam(), 20, 10, 0, 4);
    frame.width = width;
    frame.height = height;
    std::string failure;
    EXPECT_EQ(RawRowSource::open(frame, failure), nullptr);
    EXPECT_EQ(failure, "Picture size is zero or too large");
  }
}

TEST_P(RawPhoto, IsTheSameHoweverManyRowsAreAskedFor) {
  const Frame frame = noiseFrame(GetParam(), 31, 23, 2, 5);
  std::string failure;
  const Picture expected = deliver(frame);
  for (const std::uint32_t rows : {1U, 2U, 5U, 23U}) {
    const auto source = RawRowSource::open(frame, failure);
    EXPECT_TRUE(readAll(*source, rows) == expected) << rows;
  }
}

INSTANTIATE_TEST_SUITE_P(Formats, RawPhoto, testing::ValuesIn(rawFormats()),
                         [](const auto& format) { return std::string(nameOf(format.param)); });

TEST(RawRowSource, IsNotForJpeg) {
  Frame frame;
  frame.width = 4;
  frame.height = 4;
  frame.stride = 4;
  frame.bytes.resize(100);
  std::string failure;
  EXPECT_EQ(RawRowSource::open(frame, failure), nullptr);
  EXPECT_FALSE(failure.empty());
}

TEST(PixelLayout, HasTheNamesOfItsFormats) {
  for (const auto format : picture::kAllPixelFormats)
    EXPECT_EQ(picture::PixelLayout::of(format).name, nameOf(format));
}

/// Where a pixel of the upright picture lies in a buffer after the transform: mirrored first if flipped, then
/// turned counterclockwise.
Picture transformed(const Picture& upright, picture::Transform transform) {
  Picture picture = static_cast<int>(transform) >= 4 ? mirrored(upright) : upright;
  for (int quarter = static_cast<int>(transform) % 4; quarter % 4 != 0; ++quarter)
    picture = turnedClockwise(picture);
  return picture;
}

TEST(PhotoRows, UndoEveryTransformAndThenMirror) {
  for (const auto& [width, height] : {std::pair{1U, 1U}, {5U, 3U}, {40U, 33U}}) {
    const Picture scene = noisePicture(width, height, 6);
    for (int value = 0; value < 8; ++value) {
      const auto transform = static_cast<picture::Transform>(value);
      const Picture stored = transformed(scene, transform);
      Frame frame;
      frame.format = PixelFormat::RGB;
      frame.width = static_cast<int>(stored.width);
      frame.height = static_cast<int>(stored.height);
      frame.stride = 3 * frame.width;
      frame.bytes = stored.pixels;
      frame.transform = transform;
      std::string failure;
      EXPECT_TRUE(readAll(*picture::openPhotoRows(frame, false, failure)) == scene) << value;
      EXPECT_TRUE(readAll(*picture::openPhotoRows(frame, true, failure)) == mirrored(scene)) << value;
    }
  }
}

}  // namespace
}  // namespace camera_shot_test
