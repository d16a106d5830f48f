#include <gtest/gtest.h>

#include "platform/linux/ui/MainLoop.h"
#include "platform/linux/ui/PictureTexture.h"
#include "tests/ui/support/TestFrames.h"
#include "tests/ui/support/TestWindows.h"

namespace {

using namespace platform_linux;  // NOLINT(google-build-using-namespace)
using namespace ui_test;         // NOLINT(google-build-using-namespace)

constexpr picture::PixelSize kView{320, 240};

class PictureTextureTest : public testing::Test {
 protected:
  bool waitUntilReady(int times) {
    return runUntil([this, times] { return ready_ >= times; });
  }

  /// The number of frames that were decoded; all that were asked for have been, and have been delivered.
  std::uint64_t decoded() {
    bool flushed = false;
    thread_.post([&flushed] { postToMainLoop([&flushed] { flushed = true; }); });
    EXPECT_TRUE(runUntil([&flushed] { return flushed; }));
    return thread_.startedJobs() - ++flushes_;
  }

  std::shared_ptr<const picture::Frame> frame(const Painter& painter = landscape) {
    return jpegFrame(640, 480, painter);
  }

  int ready_ = 0;
  std::uint64_t flushes_ = 0;
  Worker thread_;
  PictureTexture texture_{thread_, [this] { ++ready_; }};
};

TEST_F(PictureTextureTest, DecodesNothingBeforeTheSizeIsKnown) {
  texture_.setDrawable(true);
  texture_.setFrame(frame());
  EXPECT_EQ(ready_, 1) << "asks to be drawn";
  EXPECT_EQ(decoded(), 0U);
}

TEST_F(PictureTextureTest, DecodesForTheSizeThatIsDrawn) {
  texture_.setDrawable(true);
  texture_.setFrame(frame());
  EXPECT_EQ(texture_.draw(kView, false), nullptr);
  ASSERT_TRUE(waitUntilReady(2));
  const Texture* const drawn = texture_.draw(kView, false);
  ASSERT_TRUE(drawn);
  EXPECT_EQ(drawn->size(), kView);
}

TEST_F(PictureTextureTest, NeverRunsAheadOfTheScreen) {
  texture_.setDrawable(true);
  texture_.setFrame(frame());
  texture_.draw(kView, false);
  ASSERT_TRUE(waitUntilReady(2));
  for (int i = 0; i < 5; ++i)
    texture_.setFrame(frame());
  const auto newest = frame(redLeftBlueRight);
  texture_.setFrame(newest);
  EXPECT_EQ(decoded(), 1U) << "the rest waits for a drawing";

  texture_.draw(kView, false);
  ASSERT_TRUE(waitUntilReady(3));
  texture_.draw(kView, false);
  EXPECT_EQ(decoded(), 2U) << "of the frames that came meanwhile only the newest";
  EXPECT_EQ(texture_.frame(), newest);
}

TEST_F(PictureTextureTest, DecodesNothingWhileItIsNotDrawable) {
  texture_.setFrame(frame());
  texture_.draw(kView, false);
  EXPECT_EQ(decoded(), 0U);
  texture_.setDrawable(true);
  ASSERT_TRUE(waitUntilReady(2));
  EXPECT_EQ(decoded(), 1U);
}

TEST_F(PictureTextureTest, DecodesAgainForAnotherView) {
  texture_.setDrawable(true);
  texture_.setFrame(frame());
  texture_.draw(kView, false);
  ASSERT_TRUE(waitUntilReady(2));
  EXPECT_EQ(texture_.draw({160, 120}, false)->size(), kView) << "the old one until the new one is there";
  ASSERT_TRUE(waitUntilReady(3));
  EXPECT_EQ(texture_.draw({160, 120}, false)->size(), (picture::PixelSize{160, 120}));
  texture_.draw({160, 120}, true);
  ASSERT_TRUE(waitUntilReady(4)) << "mirrored it is another picture";
  texture_.draw({160, 120}, true);
  EXPECT_EQ(decoded(), 3U);
}

TEST_F(PictureTextureTest, KeepsTheLastGoodFrameWhenOneIsDamaged) {
  texture_.setDrawable(true);
  texture_.setFrame(frame());
  texture_.draw(kView, false);
  ASSERT_TRUE(waitUntilReady(2));
  const Texture* const good = texture_.draw(kView, false);
  auto damaged = std::make_shared<picture::Frame>(*frame());
  damaged->bytes.resize(damaged->bytes.size() / 2);
  texture_.setFrame(damaged);
  EXPECT_EQ(decoded(), 2U);
  EXPECT_EQ(texture_.draw(kView, false), good);
  texture_.setFrame(frame());
  ASSERT_TRUE(waitUntilReady(3)) << "and goes on with the next";
}

TEST_F(PictureTextureTest, MayGoWhileAFrameIsBeingDecoded) {
  auto leaving = std::make_unique<PictureTexture>(thread_, [] { FAIL() << "nobody is there to be told"; });
  leaving->draw(kView, false);
  leaving->setDrawable(true);
  leaving->setFrame(frame());
  leaving.reset();
  EXPECT_EQ(decoded(), 1U);
}

}  // namespace
