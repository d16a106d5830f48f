// What a session does with the frames and the faults of its camera; the source and the clock are the test's.
#include <cerrno>
#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/linux/camera/CaptureFlow.h"
#include "tests/camera/FakeFrameSource.h"
#include "tests/fakes/FakeFoundation.h"

namespace camera_test {
namespace {

using platform_linux::Camera;
using platform_linux::CameraList;
using platform_linux::CaptureFlow;
using platform_linux::CaptureService;
using platform_linux::FrameFeed;
using platform_linux::StillPicture;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using namespace std::chrono_literals;

constexpr auto kFrame = 33ms;
constexpr std::uint8_t kBright = 120;

Camera desk(std::uint64_t serial = 7) {
  return {.uniqueID = "desk",
          .localizedName = "Desk camera",
          .serial = serial,
          .modes = {{picture::PixelFormat::MJPG, 640, 480, {30, 1}}}};
}

class CaptureFlowTest : public testing::Test {
 protected:
  CaptureFlowTest() {
    auto loop = std::make_unique<FakeCameraLoop>();
    loop_ = loop.get();
    auto examiner = std::make_unique<FakeExaminer>(*loop);
    examiner_ = examiner.get();
    service_ = std::make_shared<CaptureService>(
        CaptureService::Parts{queue_, log_, std::make_shared<CameraList>(queue_, center_), std::move(loop),
                              std::move(examiner), source_});
    flow_ = std::make_shared<CaptureFlow>(service_);
    flow_->setCamera(desk());
    source_->show({desk()});
  }
  ~CaptureFlowTest() override { service_->shutDown(); }

  void start() {
    flow_->start();
    loop_->run();
  }
  /// The outcome is the fifth byte of the frame, or an error as a negative number.
  void capture() {
    flow_->requestStill([this](const auto& still, int error) {
      outcomes_.push_back(still.frame ? still.frame->bytes.at(5) : -error);
    });
    loop_->run();
  }
  /// One frame: `lost` hundredths are missing. Frames are numbered from 1, of which the photo tells.
  void frame(std::uint8_t lost = 0, std::uint8_t level = kBright) {
    loop_->advance(kFrame);
    source_->deliver({lost, level, ++number_});
    loop_->run();
  }
  /// Frames until a camera that began to send has settled.
  void settle() {
    for (int i = 0; i < 32; ++i)
      frame();
  }

  /// Frames until nobody asks for its exposure any more.
  void outliveItsYouth() {
    for (int i = 0; i < 100; ++i)
      frame();
  }

  /// Somebody looks at the live picture.
  std::shared_ptr<FrameFeed> watch() {
    auto feed = std::make_shared<FrameFeed>();
    feed->setListener([] {});
    flow_->addFeed(feed);
    return feed;
  }

  fakes::Journal journal_;
  fakes::FakeMainLoop queue_;
  fakes::FakeNotificationCenter center_{journal_};
  fakes::FakeLog log_{journal_};
  std::shared_ptr<FakeFrameSource> source_ = std::make_shared<FakeFrameSource>();
  FakeCameraLoop* loop_ = nullptr;
  FakeExaminer* examiner_ = nullptr;
  std::shared_ptr<CaptureService> service_;
  std::shared_ptr<CaptureFlow> flow_;
  std::vector<int> outcomes_;
  std::uint8_t number_ = 0;
};

TEST_F(CaptureFlowTest, AStillOfASettledCameraIsTheNextFrame) {
  const auto feed = watch();
  start();
  outliveItsYouth();
  EXPECT_EQ(examiner_->measured, 0) << "nobody waits";
  capture();
  frame();
  EXPECT_THAT(outcomes_, ElementsAre(number_));
  EXPECT_EQ(examiner_->measured, 0) << "its exposure settled long ago";
}

TEST_F(CaptureFlowTest, AStillOfAYoungRunIsNotMeasuredAgainWhenTheFramesBeforeHaveToldThatNothingMoves) {
  start();
  for (int i = 0; i < 31; ++i)
    frame();
  const int measured = examiner_->measured;
  capture();
  frame();
  EXPECT_THAT(outcomes_, ElementsAre(32));
  EXPECT_EQ(examiner_->measured, measured);
}

TEST_F(CaptureFlowTest, AStillOfAYoungRunIsMeasuredWhenTheLastLookIsLongAgo) {
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

TEST_F(CaptureFlowTest, AStillComesWithTheFileThatWasMadeToSeeWhetherItIsWhole) {
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

TEST_F(CaptureFlowTest, AStillYieldsToThePreviewWhileSomebodyWatches) {
  const auto feed = watch();
  start();
  outliveItsYouth();
  capture();
  frame();
  ASSERT_EQ(examiner_->examined.size(), 1U);
  EXPECT_TRUE(examiner_->examined[0].isWatched);
}

TEST_F(CaptureFlowTest, AFrameThatCameInTimeIsLookedAtToItsEnd) {
  const auto feed = watch();
  start();
  outliveItsYouth();
  capture();
  loop_->advance(4s);
  examiner_->effort = 3s;
  frame();
  loop_->advance(2s);
  EXPECT_THAT(outcomes_, IsEmpty());
  loop_->advance(1s);
  EXPECT_THAT(outcomes_, ElementsAre(number_));
}

TEST_F(CaptureFlowTest, AStillWhoseLastFrameWasFoundDamagedTooLateFailsAtOnce) {
  const auto feed = watch();
  start();
  outliveItsYouth();
  capture();
  loop_->advance(4s);
  examiner_->effort = 3s;
  frame(/*lost=*/60);
  loop_->advance(3s);
  EXPECT_THAT(outcomes_, ElementsAre(-ETIMEDOUT));
}

TEST_F(CaptureFlowTest, AStillThatIsAskedForAsTheRunGetsOldEnoughIsTheNextFrameOfASteadyCamera) {
  start();
  for (int i = 0; i < 31; ++i)
    frame();
  capture();
  frame();
  EXPECT_THAT(outcomes_, ElementsAre(32)) << "what came before has told that nothing moves";
}

TEST_F(CaptureFlowTest, ARunThatNobodyWatchesIsMeasuredForAsLongAsItIsYoungOnly) {
  start();
  for (int i = 0; i < 100; ++i)
    frame();
  const int measured = examiner_->measured;
  EXPECT_GT(measured, 0);
  for (int i = 0; i < 100; ++i)
    frame();
  EXPECT_EQ(examiner_->measured, measured);
}

TEST_F(CaptureFlowTest, AStillOfANewRunWaitsForASecond) {
  start();
  capture();
  settle();
  EXPECT_THAT(outcomes_, ElementsAre(32));
  EXPECT_THAT(journal_.of("log"), IsEmpty());
}

TEST_F(CaptureFlowTest, AStillPassesOverDamagedFrames) {
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

TEST_F(CaptureFlowTest, OfDamagedFramesAloneTheBestOneIsThePhotoAndTheLogSaysSo) {
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

TEST_F(CaptureFlowTest, OfFramesOfWhichMostIsLostNoneIsAPhoto) {
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

TEST_F(CaptureFlowTest, AStillWaitsWhileTheExposureMoves) {
  start();
  capture();
  for (int i = 0; i < 45; ++i)
    frame(0, static_cast<std::uint8_t>(40 + 2 * i));
  EXPECT_THAT(outcomes_, IsEmpty()) << "a second and a half of growing brightness";
  for (int i = 0; i < 6; ++i)
    frame(0, 130);
  EXPECT_EQ(outcomes_.size(), 1U);
}

TEST_F(CaptureFlowTest, AnExposureThatNeverSettlesIsWaitedForTwoSecondsMore) {
  start();
  capture();
  for (int i = 0; i < 89; ++i)
    frame(0, static_cast<std::uint8_t>(i % 3 == 0 ? 40 : i % 3 * 100));
  EXPECT_THAT(outcomes_, IsEmpty());
  for (int i = 0; i < 4; ++i)
    frame(0, static_cast<std::uint8_t>(i % 3 == 0 ? 40 : i % 3 * 100));
  EXPECT_EQ(outcomes_.size(), 1U);
}

TEST_F(CaptureFlowTest, ASilentCameraFailsAStillAfterFiveSecondsAndLaterOnesAtOnce) {
  start();
  capture();
  loop_->advance(4999ms);
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

TEST_F(CaptureFlowTest, AStreamThatEndsIsStartedAgainAtOnce) {
  start();
  settle();
  source_->endStreams(EIO);
  loop_->advance(0ms);
  EXPECT_EQ(source_->opened, 2);
  capture();
  settle();
  EXPECT_GT(outcomes_.at(0), 0);
}

TEST_F(CaptureFlowTest, PausesBetweenAttemptsGrowToAnEnd) {
  source_->refusal = EBUSY;
  start();
  std::vector<int> attempts;
  for (int i = 0; i < 4; ++i) {
    loop_->advance(1s);
    attempts.push_back(std::exchange(source_->opened, 0));
  }
  EXPECT_THAT(attempts, ElementsAre(testing::Le(8), testing::Le(3), testing::Le(3), testing::Le(3)));
  EXPECT_GE(attempts.back(), 2) << "one that is free again is noticed soon";
}

TEST_F(CaptureFlowTest, AStillIsServedByACameraThatIsFreeAgain) {
  source_->refusal = EBUSY;
  start();
  loop_->advance(1s);
  capture();
  loop_->advance(2s);
  source_->refusal.reset();
  loop_->advance(400ms);
  settle();
  ASSERT_EQ(outcomes_.size(), 1U);
  EXPECT_GT(outcomes_[0], 0);
}

Camera withThreeModes(std::uint64_t serial = 7) {
  auto camera = desk(serial);
  camera.modes = {{picture::PixelFormat::MJPG, 1920, 1080, {30, 1}},
                  {picture::PixelFormat::MJPG, 1280, 720, {30, 1}},
                  {picture::PixelFormat::MJPG, 640, 480, {30, 1}}};
  return camera;
}

TEST_F(CaptureFlowTest, OfACameraThatRefusesItsBestModesTheNextBestIsTriedAtOnce) {
  for (const int error : {ENOSPC, EINVAL}) {
    source_->show({withThreeModes()});
    source_->refusal = error;
    source_->grantedPixels = 640 * 480;
    start();
    loop_->advance(10ms);
    frame();
    flow_->requestStill(
        [this](const auto& still, int) { outcomes_.push_back(still.frame ? still.frame->width : 0); });
    loop_->run();
    settle();
    EXPECT_THAT(outcomes_, ElementsAre(640));
    outcomes_.clear();
    flow_->stop();
    loop_->run();
  }
}

TEST_F(CaptureFlowTest, ABusyCameraAndOneThatFailsLaterKeepTheirBestMode) {
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
  flow_->requestStill(
      [this](const auto& still, int) { outcomes_.push_back(still.frame ? still.frame->width : 0); });
  loop_->run();
  settle();
  EXPECT_THAT(outcomes_, ElementsAre(1920));
}

TEST_F(CaptureFlowTest, ACameraThatRefusesEveryModeIsAskedAgainWithPauses) {
  source_->show({withThreeModes()});
  source_->refusal = ENOSPC;
  start();
  loop_->advance(3s);
  EXPECT_LE(source_->opened, 16);
  source_->refusal.reset();
  loop_->advance(1s);
  frame();
  flow_->requestStill(
      [this](const auto& still, int) { outcomes_.push_back(still.frame ? still.frame->width : 0); });
  loop_->run();
  settle();
  ASSERT_EQ(outcomes_.size(), 1U);
  EXPECT_GT(outcomes_[0], 0);
}

TEST_F(CaptureFlowTest, ACameraPluggedInAgainMayHaveItsBestModeBack) {
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
  flow_->requestStill(
      [this](const auto& still, int) { outcomes_.push_back(still.frame ? still.frame->width : 0); });
  loop_->run();
  settle();
  EXPECT_THAT(outcomes_, ElementsAre(1920));
}

TEST_F(CaptureFlowTest, AStillIsOfTheModeThatTheCameraOffersByThen) {
  source_->show({withThreeModes()});
  start();
  frame();
  flow_->requestStill(
      [this](const auto& still, int) { outcomes_.push_back(still.frame ? still.frame->width : 0); });
  auto changed = desk();
  changed.modes = {{picture::PixelFormat::MJPG, 800, 600, {25, 1}}};
  source_->show({changed});
  loop_->advance(1ms);
  settle();
  EXPECT_THAT(outcomes_, ElementsAre(800));
  EXPECT_EQ(source_->opened, 2);
}

TEST_F(CaptureFlowTest, AModeThatIsStillOfferedAmongOthersIsKept) {
  start();
  frame();
  source_->show({withThreeModes()});
  loop_->advance(1s);
  EXPECT_EQ(source_->opened, 1);
}

TEST_F(CaptureFlowTest, AModeIsKeptThatIsOfferedInOtherWordsOnceItRuns) {
  auto vague = desk();
  vague.modes = {{picture::PixelFormat::MJPG, 0, 0, {}}};
  source_->show({vague});
  start();
  source_->show({desk()});
  loop_->advance(1s);
  EXPECT_EQ(source_->opened, 1);
}

TEST_F(CaptureFlowTest, ARefusedModeIsTriedAgainWhenTheCameraOffersOtherOnes) {
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
  flow_->requestStill(
      [this](const auto& still, int) { outcomes_.push_back(still.frame ? still.frame->width : 0); });
  loop_->run();
  settle();
  EXPECT_THAT(outcomes_, ElementsAre(1920));
}

TEST_F(CaptureFlowTest, AStillOfACameraThatStaysBusyFailsWithTheReason) {
  source_->refusal = EBUSY;
  start();
  capture();
  loop_->advance(5s);
  capture();
  EXPECT_THAT(outcomes_, ElementsAre(-EBUSY, -EBUSY));
}

TEST_F(CaptureFlowTest, AStillWaitsForACameraThatComesBack) {
  start();
  settle();
  capture();
  source_->show({});
  source_->endStreams(ENODEV);
  loop_->advance(2s);
  EXPECT_EQ(source_->opened, 1) << "there is nothing to start";
  source_->show({desk(8)});
  loop_->run();
  EXPECT_EQ(source_->opened, 2);
  settle();
  EXPECT_GT(outcomes_.at(0), 0);
}

TEST_F(CaptureFlowTest, AStillOfACameraThatStaysAwayFailsWithThat) {
  start();
  settle();
  source_->show({});
  source_->endStreams(ENODEV);
  loop_->run();
  capture();
  loop_->advance(5s);
  EXPECT_THAT(outcomes_, ElementsAre(-ENODEV));
}

TEST_F(CaptureFlowTest, WhatCanNeverBringAFrameFailsAtOnce) {
  flow_ = std::make_shared<CaptureFlow>(service_);
  capture();
  start();
  capture();
  flow_ = std::make_shared<CaptureFlow>(service_);
  auto coded = desk();
  coded.modes.clear();
  flow_->setCamera(coded);
  source_->show({coded});
  start();
  capture();
  EXPECT_THAT(outcomes_, ElementsAre(-ENOTCONN, -ENODEV, -ENOTSUP));
}

TEST_F(CaptureFlowTest, AStillFailsWhenItsSessionStops) {
  start();
  capture();
  flow_->stop();
  loop_->run();
  EXPECT_THAT(outcomes_, ElementsAre(-ECANCELED));
  loop_->advance(60s);
  EXPECT_EQ(source_->opened, 1) << "nothing is started again after a stop";
}

TEST_F(CaptureFlowTest, ADeviceThatStallsIsStartedAgainWhenItHasBeenSilentForLong) {
  start();
  settle();
  loop_->advance(11s);
  EXPECT_GE(source_->opened, 2);
}

TEST_F(CaptureFlowTest, APreviewShowsNothingOldOfAStreamThatEnded) {
  const auto feed = std::make_shared<FrameFeed>();
  int shown = 0;
  feed->setListener([&] { ++shown; });
  flow_->addFeed(feed);
  start();
  frame();
  EXPECT_NE(feed->latest(), nullptr);
  source_->endStreams(EIO);
  loop_->run();
  EXPECT_EQ(feed->latest(), nullptr);
  frame();
  EXPECT_EQ(shown, 2) << "and goes on by itself";
}

TEST_F(CaptureFlowTest, APreviewIsToldWhyNothingComesButNotOfAHiccup) {
  const auto feed = std::make_shared<FrameFeed>();
  feed->setListener([] {});
  flow_->addFeed(feed);
  start();
  settle();
  source_->endStreams(EIO);
  loop_->run();
  EXPECT_EQ(feed->error(), 0);
  source_->refusal = EBUSY;
  source_->endStreams(EIO);
  loop_->advance(1s);
  EXPECT_EQ(feed->error(), EBUSY);
  source_->refusal.reset();
  loop_->advance(1s);
  frame();
  EXPECT_EQ(feed->error(), 0);
}

}  // namespace
}  // namespace camera_test
