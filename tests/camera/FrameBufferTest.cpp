#include <numeric>
#include <vector>

#include <gtest/gtest.h>

#include "picture/PixelLayout.h"
#include "platform/linux/camera/FrameBuffer.h"

namespace camera_test {
namespace {

using platform_linux::FrameBlock;
using platform_linux::FrameBuffer;
using platform_linux::FrameFormat;
using enum picture::PixelFormat;

// A buffer as a source hands it over, of as many blocks of memory as are added.
class TestBuffer {
 public:
  TestBuffer& block(std::size_t size, std::size_t stride, std::uint8_t first = 0) {
    std::vector<std::uint8_t> bytes(size);
    std::iota(bytes.begin(), bytes.end(), first);
    return block(std::move(bytes), stride);
  }
  TestBuffer& block(std::vector<std::uint8_t> bytes, std::size_t stride) {
    memory_.push_back(std::move(bytes));
    strides_.push_back(stride);
    return *this;
  }
  std::optional<FrameBuffer> picture(const FrameFormat& format) const {
    std::vector<FrameBlock> blocks;
    for (std::size_t i = 0; i < memory_.size(); ++i)
      blocks.push_back({memory_[i], strides_[i]});
    return FrameBuffer::pictureIn(blocks, format);
  }
  std::vector<std::uint8_t> copy(const FrameFormat& format) const {
    return picture(format).value().copy(0)->bytes;
  }

 private:
  std::vector<std::vector<std::uint8_t>> memory_;
  std::vector<std::size_t> strides_;
};

constexpr FrameFormat kYuy2{YUY2, 4, 2};
constexpr FrameFormat kNv12{NV12, 4, 2};
constexpr FrameFormat kI420{I420, 4, 2};

/// A stream that states that size, as far as its scan's header.
std::vector<std::uint8_t> jpegOf(std::uint8_t width, std::uint8_t height) {
  return {0xff, 0xd8, 0xff, 0xc0, 0, 11, 8, 0, height, 0,  width, 1, 1, 0x11,
          0,    0xff, 0xda, 0,    8, 1,  1, 0, 0,      63, 0,     1, 2, 3};
}

std::vector<std::uint8_t> behind(std::vector<std::uint8_t> first, const std::vector<std::uint8_t>& second) {
  first.insert(first.end(), second.begin(), second.end());
  return first;
}

TEST(FrameBuffer, AJpegStreamMayStandBehindOtherBytes) {
  const FrameFormat format{MJPG, 64, 48};
  const auto stream = jpegOf(64, 48);
  const std::vector<std::vector<std::uint8_t>> others{
      std::vector<std::uint8_t>(1, 0),
      std::vector<std::uint8_t>(512, 0),
      std::vector<std::uint8_t>(300, 0xff),
      {'m', 'a', 'k', 'e', 'r', 0xff, 0xd8, 0, 0xff, 0xd9, 0xff}};
  for (const auto& other : others)
    EXPECT_EQ(TestBuffer().block(behind(other, stream), 0).copy(format), stream) << other.size();
}

TEST(FrameBuffer, OfAStreamWithoutItsBeginningTheThumbnailIsNoPicture) {
  const std::vector<std::uint8_t> rest(100, 7);
  EXPECT_FALSE(TestBuffer().block(behind(rest, jpegOf(16, 12)), 0).picture({MJPG, 64, 48}));
}

TEST(FrameBuffer, AJpegStreamIsNotSoughtFarBehindTheBeginning) {
  const std::vector<std::uint8_t> much(100'000, 0);
  EXPECT_FALSE(TestBuffer().block(behind(much, jpegOf(64, 48)), 0).picture({MJPG, 64, 48}));
}

TEST(FrameBuffer, CopiesAPackedPictureWithItsPadding) {
  TestBuffer buffer;
  buffer.block(20, 10);
  const auto frame = buffer.picture(kYuy2).value().copy(7);
  EXPECT_EQ(frame->format, YUY2);
  EXPECT_EQ(frame->width, 4);
  EXPECT_EQ(frame->height, 2);
  EXPECT_EQ(frame->stride, 10);
  EXPECT_EQ(frame->sequence, 7U);
  EXPECT_EQ(frame->bytes.size(), 20U);
  EXPECT_EQ(frame->bytes[10], 10);
}

TEST(FrameBuffer, TakesRowsForTightWhenNoStrideIsStated) {
  TestBuffer buffer;
  buffer.block(16, 0);
  EXPECT_EQ(buffer.picture(kYuy2).value().copy(0)->stride, 8);
}

TEST(FrameBuffer, TheLastRowMayLackItsPadding) {
  TestBuffer buffer;
  buffer.block(18, 10);
  EXPECT_EQ(buffer.copy(kYuy2).size(), 20U) << "the copy has it";
}

TEST(FrameBuffer, OfPlanesInOneBlockKeepsThem) {
  TestBuffer buffer;
  buffer.block(12, 4);
  const auto bytes = buffer.copy(kNv12);
  EXPECT_EQ(bytes.size(), 12U);
  EXPECT_EQ(bytes[11], 11);
}

TEST(FrameBuffer, OfABlockAPlanePutsThemTogether) {
  TestBuffer buffer;
  buffer.block(8, 4, 0).block(2, 2, 100).block(2, 2, 200);
  EXPECT_EQ(buffer.copy(kI420), (std::vector<std::uint8_t>{0, 1, 2, 3, 4, 5, 6, 7, 100, 101, 200, 201}));
}

TEST(FrameBuffer, BringsPlanesToTheStrideOfTheFirst) {
  TestBuffer buffer;
  buffer.block(12, 6, 0).block(4, 4, 100);
  EXPECT_EQ(buffer.copy(kNv12),
            (std::vector<std::uint8_t>{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 100, 101, 102, 103, 0, 0}));
}

TEST(FrameBuffer, OfAnOddStrideHalvesItRoundedDown) {
  TestBuffer buffer;
  buffer.block(7 * 2 + 2 * 3, 7);
  const auto frame = buffer.picture(kI420).value().copy(0);
  std::string failure;
  const auto planes = picture::planesOf(*frame, failure);
  ASSERT_TRUE(planes) << failure;
  EXPECT_EQ((*planes)[1].data[0], 14);
  EXPECT_EQ((*planes)[2].data[0], 17);
}

TEST(FrameBuffer, OfAnOddWidthMayBeTight) {
  TestBuffer buffer;
  buffer.block(5 * 3 + 2 * 3 * 2, 5);
  const auto frame = buffer.picture({I420, 5, 3}).value().copy(0);
  EXPECT_EQ(frame->stride, 5);
  EXPECT_EQ(frame->bytes.size(), 27U);
}

// What GStreamer 1.22 makes of 321 by 241 pixels: the bytes in all, where the second plane begins, its
// stride.
struct PaddedRows {
  picture::PixelFormat format;
  std::size_t size;
  std::size_t firstStride;
  std::size_t secondPlane = 0;
  std::size_t secondStride = 0;
};

constexpr PaddedRows kPaddedRows[] = {
    {I420, 118096, 324, 78408, 164},
    {YV12, 118096, 324, 78408, 164},
    {NV12, 117612, 324, 78408, 324},
    {NV16, 156168, 324, 78084, 324},
    {NV24, 233288, 324, 78084, 644},
    {YUY2, 155204, 644},
    {RGB, 232324, 964},
    {RGB16, 155204, 644},
    {GRAY8, 78084, 324},
};

TEST(FrameBuffer, KnowsRowsThatEndAtWholeWordsByTheirSizeWhenNoStrideIsStated) {
  for (const auto& [format, size, firstStride, secondPlane, secondStride] : kPaddedRows) {
    for (const std::size_t stated : {std::size_t{0}, firstStride}) {
      SCOPED_TRACE(picture::PixelLayout::of(format).name);
      std::vector<std::uint8_t> bytes(size);
      const std::size_t secondRow = secondPlane > 0 ? secondPlane + secondStride : firstStride;
      bytes[secondRow] = 201;
      TestBuffer buffer;
      buffer.block(bytes, stated);
      const auto frame = buffer.picture({format, 321, 241}).value().copy(0);
      std::string failure;
      const auto planes = picture::planesOf(*frame, failure);
      ASSERT_TRUE(planes) << failure;
      EXPECT_EQ((*planes)[secondPlane > 0 ? 1 : 0].row(1)[0], 201);
    }
  }
}

TEST(FrameBuffer, IsNoneWhenItsSizeIsAbsurd) {
  TestBuffer buffer;
  buffer.block(64, 8);
  EXPECT_FALSE(buffer.picture({YUY2, 0, 2}));
  EXPECT_FALSE(buffer.picture({YUY2, 4, 0}));
  EXPECT_FALSE(buffer.picture({YUY2, 0xFFFFFFFF, 2}));
  EXPECT_FALSE(buffer.picture({YUY2, 4, 0xFFFFFFFF}));
}

TEST(FrameBuffer, IsNoneWhenCutShort) {
  TestBuffer buffer;
  buffer.block(15, 8);
  EXPECT_FALSE(buffer.picture(kYuy2));
  TestBuffer planes;
  planes.block(8, 4).block(1, 2).block(2, 2);
  EXPECT_FALSE(planes.picture(kI420));
}

TEST(FrameBuffer, IsNoneWithoutBytes) {
  EXPECT_FALSE(TestBuffer().picture(kYuy2));
  EXPECT_FALSE(TestBuffer().block(0, 8).picture(kYuy2));
}

TEST(FrameBuffer, IsNoneWhenItsRowsAreShorterThanThePictureIsWide) {
  EXPECT_FALSE(TestBuffer().block(16, 4).picture(kYuy2));
}

TEST(FrameBuffer, OfAJpegStreamIsAllOfItsBytes) {
  const FrameFormat jpeg{MJPG, 4, 2};
  const std::vector<std::uint8_t> stream{0xff, 0xd8, 0xff, 0xda, 0, 6, 0, 0, 63, 0, 1, 2, 3};
  TestBuffer good;
  good.block(stream, 0);
  EXPECT_EQ(good.copy(jpeg), stream) << "whether it is whole is found out elsewhere";
  EXPECT_EQ(good.picture(jpeg).value().copy(0)->stride, 0);
  EXPECT_FALSE(TestBuffer().block({0, 0, 0xff, 0xd8, 0xff, 0xda}, 0).picture(jpeg)) << "no JPEG stream";
  EXPECT_FALSE(TestBuffer().block({0xff, 0xd8}, 0).picture(jpeg));
}

}  // namespace
}  // namespace camera_test
