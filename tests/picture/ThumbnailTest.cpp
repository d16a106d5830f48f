#include <algorithm>

#include <gtest/gtest.h>

#include "picture/Thumbnail.h"

namespace {

using picture::Thumbnail;
using picture::ThumbnailRows;

/// Red grows to the right, green downwards, blue is the same everywhere.
class Gradient : public picture::RowSource {
 public:
  Gradient(std::uint32_t width, std::uint32_t height) : width_(width), height_(height) {}
  std::uint32_t width() const noexcept override { return width_; }
  std::uint32_t height() const noexcept override { return height_; }
  bool readRows(std::span<std::uint8_t> rows) noexcept override {
    for (std::size_t at = 0; at < rows.size(); at += rowBytes(), ++row_)
      for (std::uint32_t column = 0; column < width_; ++column) {
        std::uint8_t* const pixel = &rows[at + column * std::size_t{3}];
        pixel[0] = static_cast<std::uint8_t>(255 * column / width_);
        pixel[1] = static_cast<std::uint8_t>(255 * row_ / height_);
        pixel[2] = 77;
      }
    return row_ <= failsAt;
  }
  std::string failure() const override { return "broken"; }

  std::uint32_t failsAt = ~0U;

 private:
  const std::uint32_t width_, height_;
  std::uint32_t row_ = 0;
};

Thumbnail thumbnailOf(Gradient& source, int side, std::uint32_t rowsAtOnce) {
  ThumbnailRows rows(source, side);
  std::vector<std::uint8_t> passed;
  for (std::uint32_t left = source.height(); left > 0;) {
    const std::uint32_t count = std::min(left, rowsAtOnce);
    passed.resize(count * rows.rowBytes());
    EXPECT_TRUE(rows.readRows(passed));
    left -= count;
  }
  return rows.take();
}

TEST(Thumbnail, HasThePicturesShapeAndColours) {
  Gradient source(4000, 3000);
  const Thumbnail small = thumbnailOf(source, 192, 17);
  EXPECT_EQ(small.size, (picture::PixelSize{190, 142}));
  ASSERT_EQ(small.pixels.size(), 190U * 142 * 3);
  for (const std::uint32_t row : {0U, 70U, 141U})
    for (const std::uint32_t column : {0U, 100U, 189U}) {
      const std::uint8_t* const pixel = &small.pixels[(row * 190 + column) * 3];
      EXPECT_NEAR(pixel[0], 255 * (column + 0.5) * 21 / 4000, 2);
      EXPECT_NEAR(pixel[1], 255 * (row + 0.5) * 21 / 3000, 2);
      EXPECT_EQ(pixel[2], 77);
    }
}

TEST(Thumbnail, OfASmallPictureIsThePicture) {
  Gradient source(3, 2);
  Gradient same(3, 2);
  std::vector<std::uint8_t> pixels(18);
  ASSERT_TRUE(same.readRows(pixels));
  EXPECT_EQ(thumbnailOf(source, 192, 1), (Thumbnail{{3, 2}, pixels}));
}

TEST(Thumbnail, OfEveryShapeFitsTheSide) {
  for (const auto& [width, height] : {std::pair{193U, 1U}, {1U, 1000U}, {192U, 192U}, {385U, 191U}}) {
    Gradient source(width, height);
    const Thumbnail small = thumbnailOf(source, 192, 5);
    EXPECT_LE(std::max(small.size.width, small.size.height), 192);
    EXPECT_EQ(small.pixels.size(),
              static_cast<std::size_t>(small.size.width) * static_cast<std::size_t>(small.size.height) * 3);
  }
}

TEST(Thumbnail, FailsAsItsSourceDoes) {
  Gradient source(8, 8);
  source.failsAt = 2;
  ThumbnailRows rows(source, 4);
  std::vector<std::uint8_t> passed(4 * rows.rowBytes());
  EXPECT_FALSE(rows.readRows(passed));
  EXPECT_EQ(rows.failure(), "broken");
}

}  // namespace
