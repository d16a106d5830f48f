#include <gtest/gtest.h>

#include "picture/PhotoRows.h"
#include "picture/png/PngWriter.h"
#include "tests/picture/PngReading.h"
#include "tests/picture/TestJpegs.h"

namespace camera_shot_test {
namespace {

using picture::PngResult;
using picture::writePng;

/// Claims a size without having the pixels.
class EmptySource final : public picture::RowSource {
 public:
  EmptySource(std::uint32_t width, std::uint32_t height) : width_(width), height_(height) {}
  std::uint32_t width() const noexcept override { return width_; }
  std::uint32_t height() const noexcept override { return height_; }
  bool readRows(std::span<std::uint8_t>) noexcept override {
    ADD_FAILURE() << "read";
    return false;
  }
  std::string failure() const override { return {}; }

 private:
  std::uint32_t width_;
  std::uint32_t height_;
};

void expectSinkFailures(const Picture& picture) {
  const std::size_t whole = encodePng(picture, 1).size();
  for (const unsigned threads : {1U, 2U, 3U}) {
    for (std::size_t capacity = 0; capacity < whole; capacity += 1 + whole / 61) {
      PictureSource source(picture);
      MemorySink sink(capacity);
      ASSERT_EQ(picture::writePng(source, {}, sink, {.threads = threads}), picture::PngResult::SinkFailed)
          << capacity;
      ASSERT_EQ(sink.writesAfterRefusal, 0);
    }
    PictureSource source(picture);
    MemorySink sink(whole);
    EXPECT_EQ(picture::writePng(source, {}, sink, {.threads = threads}), picture::PngResult::Written);
    MemorySink tooSmall(whole - 1);
    PictureSource again(picture);
    EXPECT_EQ(picture::writePng(again, {}, tooSmall, {.threads = threads}), picture::PngResult::SinkFailed);
  }
}

TEST(PngFailure, OfTheSinkEndsTheWriting) {
  expectSinkFailures(photoPicture(700, 500, 1));
  expectSinkFailures(drawnPicture(700, 900, 2));
}

TEST(PngFailure, OfTheSourceEndsTheWriting) {
  const Picture picture = photoPicture(700, 500, 2);
  for (const unsigned threads : {1U, 2U, 3U}) {
    for (std::uint32_t row = 0; row < picture.height; row += 7) {
      PictureSource source(picture, row);
      MemorySink sink;
      ASSERT_EQ(picture::writePng(source, {}, sink, {.threads = threads}), picture::PngResult::SourceFailed)
          << row;
      ASSERT_EQ(source.failure(), "made to fail");
      ASSERT_FALSE(parsePng(sink.bytes).has_value());
    }
  }
}

TEST(PngFailure, OfATruncatedPhotoEndsTheWriting) {
  const Bytes jpeg = encodeJpeg(photoPicture(700, 500, 3));
  const std::span<const std::uint8_t> half(jpeg.data(), jpeg.size() / 2);
  std::string failure;
  const auto source = picture::openJpegRows(half, failure);
  ASSERT_NE(source, nullptr);
  MemorySink sink;
  EXPECT_EQ(picture::writePng(*source, {}, sink), picture::PngResult::SourceFailed);
  EXPECT_FALSE(source->failure().empty());
}

TEST(PngFailure, ComesBeforeAnythingIsWrittenForAbsurdSizes) {
  for (const auto& [width, height] :
       {std::pair{0U, 10U}, {10U, 0U}, {32768U, 10U}, {10U, 32768U}, {20000U, 20000U}}) {
    EmptySource source(width, height);
    MemorySink sink;
    EXPECT_EQ(picture::writePng(source, {}, sink), picture::PngResult::SourceFailed);
    EXPECT_TRUE(sink.bytes.empty());
  }
}

}  // namespace
}  // namespace camera_shot_test
