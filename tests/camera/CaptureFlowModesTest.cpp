// In which of its modes a session uses its camera.
#include <cerrno>
#include <utility>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/camera/CaptureFlowFixture.h"

namespace camera_test {
namespace {

using platform_linux::Camera;
using testing::ElementsAre;
using testing::HasSubstr;
using namespace std::chrono_literals;

class CaptureFlowModes : public CaptureFlowTest {
 protected:
  /// The outcome is the photo's width; 0 without one.
  void captureWidth() {
    flow_->requestStill(
        [this](const auto& still, int) { outcomes_.push_back(still.frame ? still.frame->width : 0); });
    loop_->run();
  }
};

Camera withThreeModes(std::uint64_t serial = 7) {
  auto camera = desk(serial);
  camera.modes = {{picture::PixelFormat::MJPG, 1920, 1080, {30, 1}},
                  {picture::PixelFormat::MJPG, 1280, 720, {30, 1}},
                  {picture::PixelFormat::MJPG, 640, 480, {30, 1}}};
  return camera;
}

TEST_F(CaptureFlowModes, OfACameraThatRefusesItsBestModesTheNextBestIsTriedAtOnce) {
  for (const int error : {ENOSPC, EINVAL}) {
    source_->show({withThreeModes()});
    source_->refusal = error;
    source_->grantedPixels = 640 * 480;
    start();
    loop_->advance(10ms);
    frame();
    captureWidth();
    settle();
    EXPECT_THAT(outcomes_, ElementsAre(640));
    outcomes_.clear();
    flow_->stop();
    loop_->run();
  }
}

TEST_F(CaptureFlowModes, OfACameraWhoseLargestPicturesAreOfNoUseTheNextBestIsTried) {
  source_->show({withThreeModes()});
  source_->usablePixels = 640 * 480;
  start();
  captureWidth();
  for (int i = 0; i < 100; ++i)
    frame();
  EXPECT_THAT(outcomes_, ElementsAre(640));
  EXPECT_EQ(source_->opened, 3);
  EXPECT_THAT(journal_.of("log"), ElementsAre(HasSubstr("Desk camera: no picture of 1920x1080 can be used"),
                                              HasSubstr("Desk camera: no picture of 1280x720 can be used")));
}

TEST_F(CaptureFlowModes, OfASlowCameraASecondOfPicturesOfNoUseIsEnough) {
  source_->show({withThreeModes()});
  source_->usablePixels = 1280 * 720;
  start();
  captureWidth();
  for (int i = 0; i < 15; ++i) {
    loop_->advance(200ms - kFrame);
    frame();
  }
  EXPECT_THAT(outcomes_, ElementsAre(1280));
}

TEST_F(CaptureFlowModes, OfACameraThatIsSilentInItsBestModeTheStillIsOfASmallerOne) {
  source_->show({withThreeModes()});
  source_->loudPixels = 1280 * 720;
  start();
  captureWidth();
  for (int i = 0; i < 200 && outcomes_.empty(); ++i)
    frame();
  EXPECT_THAT(outcomes_, ElementsAre(1280));
  EXPECT_THAT(journal_.of("log"), ElementsAre(HasSubstr("Desk camera: no picture of 1920x1080 comes")));
}

TEST_F(CaptureFlowModes, OfACameraThatIsSilentInItsLargerModesTheSmallestIsFound) {
  source_->show({withThreeModes()});
  source_->loudPixels = 640 * 480;
  start();
  loop_->advance(20s);
  frame();
  captureWidth();
  settle();
  EXPECT_THAT(outcomes_, ElementsAre(640));
}

TEST_F(CaptureFlowModes, ACameraThatIsSlowToBeginGetsItsBestModeAndMoreTimeInTurn) {
  source_->show({withThreeModes()});
  start();
  loop_->advance(15s);  // 4 in the best mode, 4 in a smaller one, and 7 of the 10 in the best
  frame();
  captureWidth();
  settle();
  EXPECT_THAT(outcomes_, ElementsAre(1920));
  EXPECT_EQ(source_->opened, 3);
}

TEST_F(CaptureFlowModes, AModeThatThereIsNoMemoryForIsLeftAtOnceAndOneThatFailsTwice) {
  std::uint64_t serial = 7;
  for (const auto& [error, times] : {std::pair{ENOMEM, 1}, std::pair{EPROTO, 1}, std::pair{EIO, 2}}) {
    source_->opened = 0;
    source_->show({withThreeModes(++serial)});
    source_->refusal = error;
    source_->grantedPixels = 1280 * 720;
    start();
    loop_->advance(2s);
    frame();
    captureWidth();
    settle();
    EXPECT_THAT(outcomes_, ElementsAre(1280)) << error;
    EXPECT_EQ(source_->opened, times + 1) << error;
    outcomes_.clear();
    flow_->stop();
    source_->show({});
    loop_->run();
  }
}

TEST_F(CaptureFlowModes, ACameraThatFailsNowAndThenKeepsItsBestMode) {
  source_->show({withThreeModes()});
  start();
  for (int i = 0; i < 3; ++i) {
    source_->refusal = EIO;
    source_->endStreams(EIO);
    loop_->run();
    source_->refusal.reset();
    loop_->advance(3s);
    frame();
  }
  captureWidth();
  settle();
  EXPECT_THAT(outcomes_, ElementsAre(1920));
}

TEST_F(CaptureFlowModes, ACameraOfOneModeIsNotStartedAnewForPicturesOfNoUse) {
  source_->usablePixels = 0;
  start();
  for (int i = 0; i < 100; ++i)
    frame();
  EXPECT_EQ(source_->opened, 1);
}

TEST_F(CaptureFlowModes, ABusyCameraAndOneThatFailsLaterKeepTheirBestMode) {
  source_->show({withThreeModes()});
  source_->refusal = EBUSY;
  source_->grantedPixels = 640 * 480;
  start();
  loop_->advance(1s);
  source_->refusal.reset();
  loop_->advance(1s);
  frame();
  source_->endStreams(ENOSPC);
  loop_->advance(1s);
  captureWidth();
  settle();
  EXPECT_THAT(outcomes_, ElementsAre(1920));
}

TEST_F(CaptureFlowModes, ACameraThatRefusesEveryModeIsAskedAgainWithPauses) {
  source_->show({withThreeModes()});
  source_->refusal = ENOSPC;
  start();
  loop_->advance(3s);
  EXPECT_LE(source_->opened, 16);
  source_->refusal.reset();
  loop_->advance(1s);
  frame();
  captureWidth();
  settle();
  ASSERT_EQ(outcomes_.size(), 1U);
  EXPECT_GT(outcomes_[0], 0);
}

TEST_F(CaptureFlowModes, ACameraPluggedInAgainMayHaveItsBestModeBack) {
  source_->show({withThreeModes()});
  source_->refusal = ENOSPC;
  source_->grantedPixels = 640 * 480;
  start();
  loop_->advance(10ms);
  frame();
  source_->refusal.reset();
  source_->show({});
  source_->endStreams(ENODEV);
  loop_->advance(100ms);
  source_->show({withThreeModes(8)});
  loop_->run();
  captureWidth();
  settle();
  EXPECT_THAT(outcomes_, ElementsAre(1920));
}

TEST_F(CaptureFlowModes, AStillIsOfTheModeThatTheCameraOffersByThen) {
  source_->show({withThreeModes()});
  start();
  frame();
  captureWidth();
  auto changed = desk();
  changed.modes = {{picture::PixelFormat::MJPG, 800, 600, {25, 1}}};
  source_->show({changed});
  loop_->advance(1ms);
  settle();
  EXPECT_THAT(outcomes_, ElementsAre(800));
  EXPECT_EQ(source_->opened, 2);
}

TEST_F(CaptureFlowModes, AModeThatIsStillOfferedAmongOthersIsKept) {
  start();
  frame();
  source_->show({withThreeModes()});
  loop_->advance(1s);
  EXPECT_EQ(source_->opened, 1);
}

TEST_F(CaptureFlowModes, AModeIsKeptThatIsOfferedInOtherWordsOnceItRuns) {
  auto vague = desk();
  vague.modes = {{picture::PixelFormat::MJPG, 0, 0, {}}};
  source_->show({vague});
  start();
  source_->show({desk()});
  loop_->advance(1s);
  EXPECT_EQ(source_->opened, 1);
}

TEST_F(CaptureFlowModes, ARefusedModeIsTriedAgainWhenTheCameraOffersOtherOnes) {
  source_->show({withThreeModes()});
  source_->refusal = EINVAL;
  source_->grantedPixels = 640 * 480;
  start();
  loop_->advance(10ms);
  frame();
  source_->refusal.reset();
  auto changed = withThreeModes();
  changed.modes.pop_back();
  source_->show({changed});
  loop_->advance(100ms);
  captureWidth();
  settle();
  EXPECT_THAT(outcomes_, ElementsAre(1920));
}

}  // namespace
}  // namespace camera_test
