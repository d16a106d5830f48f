#include <array>
#include <cstdint>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <spa/buffer/meta.h>

#include "platform/linux/camera/pipewire/SpaBlocks.h"

namespace camera_test {
namespace {

using platform_linux::SpaBlocks;
using testing::ElementsAre;
using testing::IsEmpty;

// A buffer as the daemon hands it over, of as many blocks of four bytes as are asked for: 0 1 2 3, 4 5 6 7, …
class TestBuffer {
 public:
  explicit TestBuffer(std::uint32_t count) : count_(count) {
    for (std::size_t i = 0; i < memory_.size(); ++i)
      memory_[i] = static_cast<std::uint8_t>(i);
    for (std::size_t i = 0; i < count; ++i) {
      chunks_[i] = {0, kBlock, 2, 0};
      datas_[i] = {};
      datas_[i].type = SPA_DATA_MemPtr;
      datas_[i].maxsize = kBlock;
      datas_[i].data = memory_.data() + i * kBlock;
      datas_[i].chunk = &chunks_[i];
    }
  }
  spa_chunk& chunk(std::size_t index) { return chunks_[index]; }
  spa_data& data(std::size_t index) { return datas_[index]; }
  void addHeader(std::uint32_t flags) {
    header_.flags = flags;
    meta_ = {SPA_META_Header, sizeof header_, &header_};
    hasHeader_ = true;
  }
  SpaBlocks blocks() {
    const spa_buffer buffer{hasHeader_ ? 1U : 0U, count_, &meta_, datas_.data()};
    return SpaBlocks(buffer);
  }

 private:
  static constexpr std::uint32_t kBlock = 4;
  std::array<std::uint8_t, 8 * kBlock> memory_{};
  std::array<spa_chunk, 8> chunks_{};
  std::array<spa_data, 8> datas_{};
  std::uint32_t count_;
  spa_meta_header header_{};
  spa_meta meta_{};
  bool hasHeader_ = false;
};

TEST(SpaBlocks, AreTheFilledPartsWithTheirStrides) {
  TestBuffer buffer(2);
  buffer.chunk(0) = {1, 2, 8, 0};
  buffer.chunk(1).stride = -1;
  const auto made = buffer.blocks();
  ASSERT_EQ(made.blocks().size(), 2U);
  EXPECT_THAT(made.blocks()[0].bytes, ElementsAre(1, 2));
  EXPECT_EQ(made.blocks()[0].stride, 8U);
  EXPECT_THAT(made.blocks()[1].bytes, ElementsAre(4, 5, 6, 7));
  EXPECT_EQ(made.blocks()[1].stride, 0U);
}

TEST(SpaBlocks, LieInsideOfTheMemoryWhateverTheDaemonStates) {
  TestBuffer longer(1);
  longer.chunk(0).size = 1000;
  EXPECT_THAT(longer.blocks().blocks()[0].bytes, ElementsAre(0, 1, 2, 3));
  TestBuffer further(1);
  further.chunk(0).offset = 1000;
  EXPECT_THAT(further.blocks().blocks()[0].bytes, IsEmpty());
  TestBuffer many(8);
  EXPECT_EQ(many.blocks().blocks().size(), 4U);
}

TEST(SpaBlocks, AreEmptyWithoutMemory) {
  TestBuffer unmapped(1);
  unmapped.data(0).data = nullptr;
  EXPECT_THAT(unmapped.blocks().blocks()[0].bytes, IsEmpty());
  TestBuffer chunkless(1);
  chunkless.data(0).chunk = nullptr;
  EXPECT_THAT(chunkless.blocks().blocks()[0].bytes, IsEmpty());
  EXPECT_THAT(TestBuffer(0).blocks().blocks(), IsEmpty());
}

TEST(SpaBlocks, AreNoneInAPictureThatIsMarkedAsCorrupted) {
  TestBuffer flagged(2);
  flagged.chunk(1).flags = SPA_CHUNK_FLAG_CORRUPTED;
  EXPECT_THAT(flagged.blocks().blocks(), IsEmpty());
  TestBuffer marked(1);
  marked.addHeader(SPA_META_HEADER_FLAG_CORRUPTED);
  EXPECT_THAT(marked.blocks().blocks(), IsEmpty());
  TestBuffer good(1);
  good.addHeader(0);
  EXPECT_EQ(good.blocks().blocks().size(), 1U);
}

}  // namespace
}  // namespace camera_test
