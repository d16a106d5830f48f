// Which frame a session's still is, and when there is none.
#include <cerrno>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/camera/CaptureFlowFixture.h"

namespace camera_test {
namespace {

using platform_linux::StillPicture;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using namespace std::chrono_literals;

class CaptureFlowStills : public CaptureFlowTest {
 protected:
  /// Four seconds of frames of which nearly nothing is there.
  void sendUseless() {
    for (int i = 0; i < 121; ++i)
      frame(/*lost=*/99);
  }
};

TEST_F(CaptureFlowStills, AStillOfASettledCameraIsTheNextFrame) {
  const auto feed = watch();
  start();
  outliveItsYouth();
  EXPECT_EQ(examiner_->measured, 0) << "nobody waits";
  capture();
  frame();
  EXPECT_THAT(outcomes_, ElementsAre(number_));
  EXPECT_EQ(examiner_->measured, 0) << "its exposure settled long ago";
}

TEST_F(CaptureFlowStills, AStillOfAYoungRunIsNotMeasuredAgainWhenTheFramesBeforeHaveToldThatNothingMoves) {
  start();
  for (int i = 0; i < 31; ++i)
    frame();
  const int measured = examiner_->measured;
  capture();
  frame();
  EXPECT_THAT(outcomes_, ElementsAre(32));
  EXPECT_EQ(examiner_->measured, measured);
}

TEST_F(CaptureFlowStills, AStillOfAYoungRunIsMeasuredWhenTheLastLookIsLongAgo) {
  const auto feed = watch();
  start();
  settle();
  capture();
  for (int i = 0; i < 10; ++i)
    frame();
  ASSERT_EQ(outcomes_.size(), 1U);
  for (int i = 0; i < 10; ++i)
    frame(0, 40);
  capture();
  frame(0, 40);
  EXPECT_EQ(outcomes_.size(), 1U) << "it has become dark meanwhile, and may go on so";
  for (int i = 0; i < 10; ++i)
    frame(0, 40);
  EXPECT_EQ(outcomes_.size(), 2U);
}

TEST_F(CaptureFlowStills, AStillComesWithTheFileThatWasMadeToSeeWhetherItIsWhole) {
  start();
  settle();
  StillPicture taken;
  flow_->requestStill([&](const auto& still, int) { taken = still; }, /*isMirrored=*/true);
  loop_->run();
  frame();
  ASSERT_TRUE(taken.file);
  EXPECT_TRUE(taken.file->isMirrored);
  EXPECT_THAT(taken.file->pieces, ElementsAre(taken.frame->bytes));
  ASSERT_EQ(examiner_->examined.size(), 1U);
  EXPECT_FALSE(examiner_->examined[0].isWatched);
}

TEST_F(CaptureFlowStills, AStillYieldsToThePreviewWhileSomebodyWatches) {
  const auto feed = watch();
  start();
  outliveItsYouth();
  capture();
  frame();
  ASSERT_EQ(examiner_->examined.size(), 1U);
  EXPECT_TRUE(examiner_->examined[0].isWatched);
}

TEST_F(CaptureFlowStills, AFrameThatCameInTimeIsLookedAtToItsEnd) {
  const auto feed = watch();
  start();
  outliveItsYouth();
  capture();
  sendUseless();
  examiner_->effort = 3s;
  frame();
  loop_->advance(2s);
  EXPECT_THAT(outcomes_, IsEmpty());
  loop_->advance(1s);
  EXPECT_THAT(outcomes_, ElementsAre(number_));
}

TEST_F(CaptureFlowStills, AStillWhoseLastFrameWasFoundDamagedTooLateFailsAtOnce) {
  const auto feed = watch();
  start();
  outliveItsYouth();
  capture();
  sendUseless();
  examiner_->effort = 3s;
  frame(/*lost=*/60);
  loop_->advance(3s);
  EXPECT_THAT(outcomes_, ElementsAre(-ETIMEDOUT));
}

TEST_F(CaptureFlowStills, AStillThatIsAskedForAsTheRunGetsOldEnoughIsTheNextFrameOfASteadyCamera) {
  start();
  for (int i = 0; i < 31; ++i)
    frame();
  capture();
  frame();
  EXPECT_THAT(outcomes_, ElementsAre(32)) << "what came before has told that nothing moves";
}

TEST_F(CaptureFlowStills, ARunThatNobodyWatchesIsMeasuredForAsLongAsItIsYoungOnly) {
  start();
  for (int i = 0; i < 100; ++i)
    frame();
  const int measured = examiner_->measured;
  EXPECT_GT(measured, 0);
  for (int i = 0; i < 100; ++i)
    frame();
  EXPECT_EQ(examiner_->measured, measured);
}

TEST_F(CaptureFlowStills, AStillOfANewRunWaitsForASecond) {
  start();
  capture();
  settle();
  EXPECT_THAT(outcomes_, ElementsAre(32));
  EXPECT_THAT(journal_.of("log"), IsEmpty());
}

TEST_F(CaptureFlowStills, FramesThatAreTooEarlyForAStillAreNotCopied) {
  start();
  capture();
  for (int i = 0; i < 20; ++i)
    frame();
  EXPECT_EQ(flow_->counts().copied, 0U);
  for (int i = 0; i < 12; ++i)
    frame();
  EXPECT_THAT(outcomes_, ElementsAre(32));
  EXPECT_LT(flow_->counts().copied, flow_->counts().arrived / 2) << "only the last ones are looked at";
}

TEST_F(CaptureFlowStills, AStillPassesOverDamagedFrames) {
  start();
  settle();
  capture();
  for (int i = 0; i < 4; ++i)
    frame(/*lost=*/10);
  EXPECT_THAT(outcomes_, IsEmpty());
  frame();
  EXPECT_THAT(outcomes_, ElementsAre(number_));
  EXPECT_THAT(journal_.of("log"), IsEmpty());
}

TEST_F(CaptureFlowStills, OfDamagedFramesAloneTheBestOneIsThePhotoAndTheLogSaysSo) {
  start();
  settle();
  capture();
  frame(30);
  frame(20);
  const int best = number_;
  for (int i = 0; i < 200 && outcomes_.empty(); ++i)
    frame(25);
  EXPECT_THAT(outcomes_, ElementsAre(best));
  EXPECT_THAT(journal_.of("log"), ElementsAre(HasSubstr("Desk camera: only damaged pictures came")));
  EXPECT_THAT(journal_.of("log"), ElementsAre(HasSubstr("20 %")));
}

TEST_F(CaptureFlowStills, OfFramesOfWhichMostIsLostNoneIsAPhoto) {
  start();
  settle();
  capture();
  for (int i = 0; i < 200 && outcomes_.empty(); ++i)
    frame(60);
  EXPECT_THAT(outcomes_, ElementsAre(-ETIMEDOUT));
  EXPECT_THAT(
      journal_.of("log"),
      ElementsAre(HasSubstr("Desk camera: none of the pictures that came can be used: much is missing")));
}

TEST_F(CaptureFlowStills, AStillWaitsWhileTheExposureMoves) {
  start();
  capture();
  for (int i = 0; i < 45; ++i)
    frame(0, static_cast<std::uint8_t>(40 + 2 * i));
  EXPECT_THAT(outcomes_, IsEmpty()) << "a second and a half of growing brightness";
  for (int i = 0; i < 6; ++i)
    frame(0, 130);
  EXPECT_EQ(outcomes_.size(), 1U);
}

TEST_F(CaptureFlowStills, AnExposureThatNeverSettlesIsWaitedForTwoSecondsMore) {
  start();
  capture();
  for (int i = 0; i < 89; ++i)
    frame(0, static_cast<std::uint8_t>(i % 3 == 0 ? 40 : i % 3 * 100));
  EXPECT_THAT(outcomes_, IsEmpty());
  for (int i = 0; i < 4; ++i)
    frame(0, static_cast<std::uint8_t>(i % 3 == 0 ? 40 : i % 3 * 100));
  EXPECT_EQ(outcomes_.size(), 1U);
}

TEST_F(CaptureFlowStills,
       ACameraThatIsSilentAtItsNextStartTooFailsAStillAfterEightSecondsAndLaterOnesAtOnce) {
  start();
  capture();
  loop_->advance(7999ms);
  EXPECT_THAT(outcomes_, IsEmpty());
  loop_->advance(1ms);
  capture();
  EXPECT_THAT(outcomes_, ElementsAre(-ETIMEDOUT, -ETIMEDOUT));
  settle();
  capture();
  frame();
  frame();
  frame();
  ASSERT_EQ(outcomes_.size(), 3U);
  EXPECT_GT(outcomes_.back(), 0) << "it sends again";
}

TEST_F(CaptureFlowStills, TimeInWhichTheMachineStandsStillIsNoneThatAStillWaits) {
  start();
  capture();
  loop_->advance(6s);
  loop_->standStill(60s);
  EXPECT_THAT(outcomes_, IsEmpty());
  settle();
  frame();
  ASSERT_EQ(outcomes_.size(), 1U);
  EXPECT_GT(outcomes_.back(), 0);
}

TEST_F(CaptureFlowStills, AStillWaitsNoLongerOnAMachineThatIsBusy) {
  start();
  capture();
  for (int i = 0; i < 17; ++i)
    loop_->standStill(480ms);
  EXPECT_THAT(outcomes_, ElementsAre(-ETIMEDOUT));
}

}  // namespace
}  // namespace camera_test
