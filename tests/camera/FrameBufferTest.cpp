#include <numeric>
#include <vector>

#include <gtest/gtest.h>
#include <spa/buffer/meta.h>

#include "platform/linux/camera/pipewire/FrameBuffer.h"

namespace camera_test {
namespace {

using platform_linux::AgreedFormat;
using platform_linux::FrameBuffer;
using enum picture::PixelFormat;

// A buffer as the daemon hands it over, of as many blocks of memory as are added.
class TestBuffer {
 public:
  TestBuffer& block(std::size_t size, std::int32_t stride, std::uint8_t first = 0) {
    memory_.emplace_back(size);
    std::iota(memory_.back().begin(), memory_.back().end(), first);
    return block(memory_.back(), stride);
  }
  TestBuffer& block(std::vector<std::uint8_t> bytes, std::int32_t stride) {
    memory_.push_back(std::move(bytes));
    chunks_[count_] = {0, static_cast<std::uint32_t>(memory_.back().size()), stride, 0};
    datas_[count_] = {};
    datas_[count_].type = SPA_DATA_MemPtr;
    datas_[count_].maxsize = chunks_[count_].size;
    datas_[count_].data = memory_.back().data();
    datas_[count_].chunk = &chunks_[count_];
    ++count_;
    return *this;
  }
  spa_chunk& chunk(std::size_t index) { return chunks_[index]; }
  spa_data& data(std::size_t index) { return datas_[index]; }
  void addHeader(std::uint32_t flags) {
    header_.flags = flags;
    meta_ = {SPA_META_Header, sizeof header_, &header_};
    hasHeader_ = true;
  }
  std::optional<FrameBuffer> picture(const AgreedFormat& format) {
    buffer_ = {hasHeader_ ? 1U : 0U, count_, &meta_, datas_.data()};
    return FrameBuffer::wholePicture(buffer_, format);
  }
  std::vector<std::uint8_t> copy(const AgreedFormat& format) {
    return picture(format).value().copy(0)->bytes;
  }

 private:
  std::vector<std::vector<std::uint8_t>> memory_;
  std::array<spa_chunk, 3> chunks_{};
  std::array<spa_data, 3> datas_{};
  std::uint32_t count_ = 0;
  spa_meta_header header_{};
  spa_meta meta_{};
  bool hasHeader_ = false;
  spa_buffer buffer_{};
};

constexpr AgreedFormat kYuy2{YUY2, 4, 2};
constexpr AgreedFormat kNv12{NV12, 4, 2};
constexpr AgreedFormat kI420{I420, 4, 2};

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

TEST(FrameBuffer, IsNoneWhenCutShort) {
  TestBuffer buffer;
  buffer.block(15, 8);
  EXPECT_FALSE(buffer.picture(kYuy2));
  TestBuffer planes;
  planes.block(8, 4).block(1, 2).block(2, 2);
  EXPECT_FALSE(planes.picture(kI420));
}

TEST(FrameBuffer, IsNoneWhenEmptyOrMarked) {
  TestBuffer none;
  EXPECT_FALSE(none.picture(kYuy2));
  TestBuffer empty;
  empty.block(16, 8).chunk(0).size = 0;
  EXPECT_FALSE(empty.picture(kYuy2));
  TestBuffer unmapped;
  unmapped.block(16, 8).data(0).data = nullptr;
  EXPECT_FALSE(unmapped.picture(kYuy2));
  TestBuffer flagged;
  flagged.block(16, 8).chunk(0).flags = SPA_CHUNK_FLAG_CORRUPTED;
  EXPECT_FALSE(flagged.picture(kYuy2));
  TestBuffer marked;
  marked.block(16, 8).addHeader(SPA_META_HEADER_FLAG_CORRUPTED);
  EXPECT_FALSE(marked.picture(kYuy2));
  TestBuffer good;
  good.block(16, 8).addHeader(0);
  EXPECT_TRUE(good.picture(kYuy2));
}

TEST(FrameBuffer, DoesNotBelieveWhatLiesOutsideOfTheMemory) {
  TestBuffer longer;
  longer.block(8, 8).chunk(0).size = 1000;
  EXPECT_FALSE(longer.picture(kYuy2));
  TestBuffer further;
  further.block(16, 8).chunk(0).offset = 1000;
  EXPECT_FALSE(further.picture(kYuy2));
  TestBuffer shifted;
  shifted.block(18, 8).chunk(0) = {2, 16, 8, 0};
  EXPECT_EQ(shifted.copy(kYuy2)[0], 2);
  TestBuffer narrow;
  narrow.block(16, 4);
  EXPECT_FALSE(narrow.picture(kYuy2)) << "rows shorter than the picture is wide";
}

TEST(FrameBuffer, OfAJpegStreamMustBeAWholeOne) {
  const AgreedFormat jpeg{MJPG, 4, 2};
  // Start of image, a start of scan without components, data, end of image.
  const std::vector<std::uint8_t> whole{0xff, 0xd8, 0xff, 0xda, 0, 6, 0, 0, 63, 0, 1, 2, 3, 0xff, 0xd9};
  TestBuffer good;
  good.block(whole, 0);
  EXPECT_EQ(good.copy(jpeg), whole);
  EXPECT_EQ(good.picture(jpeg).value().copy(0)->stride, 0);
  TestBuffer bad;
  bad.block({whole.begin(), whole.end() - 2}, 0);
  EXPECT_FALSE(bad.picture(jpeg));
}

}  // namespace
}  // namespace camera_test
