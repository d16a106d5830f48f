#include <algorithm>
#include <cmath>

#include <gtest/gtest.h>

#include "picture/RawRowSource.h"
#include "tests/picture/TestPictures.h"

namespace camera_shot_test {
namespace {

using picture::ColorMatrix;
using picture::ColorRange;
using picture::RawFormat;
using picture::RawPicture;
using picture::RawRowSource;

struct Yuv {
  int y;
  int u;
  int v;
};

/// A raw picture and the bytes that it refers to.
struct OwnedRaw {
  std::array<Bytes, 3> bytes;
  picture::RawPicture picture;

  void setPlane(std::size_t plane, std::size_t rowBytes, std::size_t rows, std::size_t padding) {
    bytes[plane].assign(rowBytes * rows + padding * (rows - 1), 0xA5);  // no padding behind the last row
    picture.planes[plane] = {bytes[plane], rowBytes + padding};
  }
  std::uint8_t& at(std::size_t plane, std::size_t row, std::size_t column) {
    return bytes[plane][row * picture.planes[plane].stride + column];
  }
};

using ColorAt = std::function<Yuv(std::uint32_t x, std::uint32_t y)>;

void fillPacked(OwnedRaw& raw, const ColorAt& color, std::size_t padding) {
  const picture::RawPicture& picture = raw.picture;
  const bool lumaFirst = picture.format == picture::RawFormat::kYuy2;
  raw.setPlane(0, std::size_t{4} * ((picture.width + 1) / 2), picture.height, padding);
  for (std::uint32_t y = 0; y < picture.height; ++y) {
    for (std::uint32_t x = 0; x < picture.width; ++x) {
      const Yuv yuv = color(x, y);
      raw.at(0, y, std::size_t{2} * x + (lumaFirst ? 0 : 1)) = static_cast<std::uint8_t>(yuv.y);
      if (x % 2 != 0) continue;
      raw.at(0, y, std::size_t{2} * x + (lumaFirst ? 1 : 0)) = static_cast<std::uint8_t>(yuv.u);
      raw.at(0, y, std::size_t{2} * x + (lumaFirst ? 3 : 2)) = static_cast<std::uint8_t>(yuv.v);
    }
  }
}

void fillPlanar(OwnedRaw& raw, const ColorAt& color, std::size_t padding) {
  const picture::RawPicture& picture = raw.picture;
  const std::uint32_t halfWidth = (picture.width + 1) / 2;
  const std::uint32_t halfHeight = (picture.height + 1) / 2;
  const bool joined = picture.format == picture::RawFormat::kNv12;
  raw.setPlane(0, picture.width, picture.height, padding);
  raw.setPlane(1, joined ? 2 * halfWidth : halfWidth, halfHeight, padding);
  if (!joined) raw.setPlane(2, halfWidth, halfHeight, padding);
  for (std::uint32_t y = 0; y < picture.height; ++y) {
    for (std::uint32_t x = 0; x < picture.width; ++x) {
      const Yuv yuv = color(x, y);
      raw.at(0, y, x) = static_cast<std::uint8_t>(yuv.y);
      if (x % 2 != 0 || y % 2 != 0) continue;
      raw.at(1, y / 2, joined ? x : x / 2) = static_cast<std::uint8_t>(yuv.u);
      raw.at(joined ? 1 : 2, y / 2, joined ? x + 1 : x / 2) = static_cast<std::uint8_t>(yuv.v);
    }
  }
}

OwnedRaw makeRaw(picture::RawFormat format, std::uint32_t width, std::uint32_t height, const ColorAt& color,
                 std::size_t padding = 0) {
  OwnedRaw raw;
  raw.picture.format = format;
  raw.picture.width = width;
  raw.picture.height = height;
  if (format == picture::RawFormat::kYuy2 || format == picture::RawFormat::kUyvy) {
    fillPacked(raw, color, padding);
  } else {
    fillPlanar(raw, color, padding);
  }
  return raw;
}

Picture deliver(const picture::RawPicture& picture) {
  std::string failure;
  const auto source = picture::RawRowSource::open(picture, failure);
  EXPECT_NE(source, nullptr) << failure;
  return source ? readAll(*source) : Picture{};
}

// The conversion as the recommendations define it, in floating point.
std::array<double, 3> exactRgb(Yuv yuv, picture::ColorMatrix matrix, picture::ColorRange range) {
  const double redWeight = matrix == picture::ColorMatrix::BT709 ? 0.2126 : 0.299;
  const double blueWeight = matrix == picture::ColorMatrix::BT709 ? 0.0722 : 0.114;
  const double greenWeight = 1 - redWeight - blueWeight;
  const bool full = range == picture::ColorRange::Full;
  const double luma = full ? yuv.y / 255.0 : (yuv.y - 16) / 219.0;
  const double blueDifference = (yuv.u - 128) / (full ? 255.0 : 224.0);
  const double redDifference = (yuv.v - 128) / (full ? 255.0 : 224.0);
  const double red = luma + redDifference * 2 * (1 - redWeight);
  const double blue = luma + blueDifference * 2 * (1 - blueWeight);
  const double green = (luma - redWeight * red - blueWeight * blue) / greenWeight;
  std::array<double, 3> rgb = {red, green, blue};
  for (double& channel : rgb)
    channel = std::clamp(255 * channel, 0.0, 255.0);
  return rgb;
}

constexpr std::array kYuvFormats = {picture::RawFormat::kYuy2, picture::RawFormat::kUyvy,
                                    picture::RawFormat::kNv12, picture::RawFormat::kI420};

double worstError(picture::RawPicture picture, Yuv yuv) {
  double worst = 0;
  for (const auto matrix : {picture::ColorMatrix::BT601, picture::ColorMatrix::BT709}) {
    for (const auto range : {picture::ColorRange::Limited, picture::ColorRange::Full}) {
      picture.matrix = matrix;
      picture.range = range;
      const auto exact = exactRgb(yuv, matrix, range);
      const Picture delivered = deliver(picture);
      for (std::size_t i = 0; i < delivered.pixels.size(); ++i) {
        worst = std::max(worst, std::abs(delivered.pixels[i] - exact[i % 3]));
      }
    }
  }
  return worst;
}

TEST(RawRowSource, ConvertsFlatColorsExactly) {
  // Half a level is what rounding costs; the hundredth is for the coefficients.
  for (const auto format : kYuvFormats) {
    for (int y = 0; y <= 255; y += 17) {
      for (int u = 0; u <= 255; u += 51) {
        for (int v = 0; v <= 255; v += 51) {
          const Yuv yuv{y, u, v};
          const OwnedRaw raw = makeRaw(format, 19, 3, [yuv](auto, auto) { return yuv; });
          ASSERT_LE(worstError(raw.picture, yuv), 0.51) << y << " " << u << " " << v;
        }
      }
    }
  }
}

TEST(RawRowSource, KeepsItsPlaceWithPaddedRowsAndOddSizes) {
  const ColorAt color = [](std::uint32_t x, std::uint32_t y) {
    return Yuv{static_cast<int>(16 + (x * 5 + y * 3) % 200), 128, 128};
  };
  for (const auto format : kYuvFormats) {
    for (const std::uint32_t width : {1U, 2U, 3U, 16U, 33U}) {
      for (const std::uint32_t height : {1U, 2U, 5U}) {
        OwnedRaw raw = makeRaw(format, width, height, color, 13);
        raw.picture.range = picture::ColorRange::Full;
        const Picture expected = drawPicture(width, height, [&color](auto x, auto y) {
          return static_cast<std::uint32_t>(color(x, y).y) * 0x010101U;
        });
        EXPECT_TRUE(deliver(raw.picture) == expected) << width << "x" << height;
        raw.picture.mirrored = true;
        EXPECT_TRUE(deliver(raw.picture) == mirrored(expected)) << width << "x" << height;
      }
    }
  }
}

TEST(RawRowSource, InterpolatesChromaBetweenItsSamples) {
  // Red difference rises to the right by 8 a pixel and down by 8 a row.
  const ColorAt color = [](std::uint32_t x, std::uint32_t y) {
    return Yuv{100, 128, static_cast<int>(60 + 8 * x + 8 * (y - y % 2))};
  };
  for (const auto format : kYuvFormats) {
    OwnedRaw raw = makeRaw(format, 9, 8, color);
    raw.picture.range = picture::ColorRange::Full;
    const Picture delivered = deliver(raw.picture);
    const bool planar = format == picture::RawFormat::kNv12 || format == picture::RawFormat::kI420;
    // Well inside: a row of planar chroma lies half a luma row below the upper of its two luma rows.
    for (std::uint32_t y = 2; y < 6; ++y) {
      const double down = planar ? 8.0 * y - 4 : 8.0 * (y - y % 2);
      for (std::uint32_t x = 0; x < 8; ++x) {
        const double redDifference = 60 + 8.0 * x + down - 128;
        const double red = std::clamp(100 + 1.402 * redDifference, 0.0, 255.0);
        EXPECT_NEAR(delivered.pixels[(y * 9 + x) * 3], red, 2) << x << "," << y;
      }
    }
  }
}

TEST(RawRowSource, ReordersRgbLayouts) {
  const Picture expected = noisePicture(37, 5, 1);
  for (const auto format : {picture::RawFormat::kRgb, picture::RawFormat::kBgr, picture::RawFormat::kRgbx,
                            picture::RawFormat::kBgrx}) {
    const bool padded = format == picture::RawFormat::kRgbx || format == picture::RawFormat::kBgrx;
    const bool reversed = format == picture::RawFormat::kBgr || format == picture::RawFormat::kBgrx;
    const std::size_t pixel = padded ? 4 : 3;
    OwnedRaw raw;
    raw.picture.format = format;
    raw.picture.width = expected.width;
    raw.picture.height = expected.height;
    raw.setPlane(0, pixel * expected.width, expected.height, 5);
    for (std::size_t i = 0; i < expected.pixels.size(); ++i) {
      const std::size_t channel = i % 3;
      raw.at(0, i / 3 / 37, i / 3 % 37 * pixel + (reversed ? 2 - channel : channel)) = expected.pixels[i];
    }
    EXPECT_TRUE(deliver(raw.picture) == expected);
    raw.picture.mirrored = true;
    EXPECT_TRUE(deliver(raw.picture) == mirrored(expected));
  }
}

TEST(RawRowSource, RefusesPlanesThatAreTooSmall) {
  for (const auto format : kYuvFormats) {
    const OwnedRaw raw = makeRaw(
        format, 20, 10,
        [](auto, auto) {
          return Yuv{1, 2, 3};
        },
        4);
    for (std::size_t plane = 0; plane < 3 && !raw.bytes[plane].empty(); ++plane) {
      std::string failure;
      picture::RawPicture small = raw.picture;
      small.planes[plane].bytes = small.planes[plane].bytes.first(raw.bytes[plane].size() - 1);
      EXPECT_EQ(picture::RawRowSource::open(small, failure), nullptr);
      EXPECT_EQ(failure, "Plane " + std::to_string(plane) + " is too small");
      small = raw.picture;
      small.planes[plane].stride = 9;
      EXPECT_EQ(picture::RawRowSource::open(small, failure), nullptr);
      small.planes[plane] = {};
      EXPECT_EQ(picture::RawRowSource::open(small, failure), nullptr);
    }
    EXPECT_EQ(deliver(raw.picture).width, 20U);
  }
}

TEST(RawRowSource, RefusesAbsurdSizes) {
  OwnedRaw raw = makeRaw(picture::RawFormat::kYuy2, 20, 10, [](auto, auto) { return Yuv{1, 2, 3}; });
  std::string failure;
  raw.picture.width = 0;
  EXPECT_EQ(picture::RawRowSource::open(raw.picture, failure), nullptr);
  raw.picture.width = 40000;
  EXPECT_EQ(picture::RawRowSource::open(raw.picture, failure), nullptr);
  EXPECT_EQ(failure, "Picture size is zero or too large");
}

}  // namespace
}  // namespace camera_shot_test
