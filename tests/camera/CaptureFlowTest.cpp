// What a session does when its camera fails, leaves or falls silent.
#include <cerrno>
#include <utility>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/camera/CaptureFlowFixture.h"

namespace camera_test {
namespace {

using platform_linux::CameraCensus;
using platform_linux::CaptureFlow;
using platform_linux::FrameFeed;
using testing::ElementsAre;
using namespace std::chrono_literals;

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

TEST_F(CaptureFlowTest, AStillWaitsForADaemonThatComesBack) {
  start();
  settle();
  capture();
  source_->show({}, CameraCensus::State::NobodyServes);
  source_->endStreams(EPIPE);
  loop_->advance(4s);
  source_->show({desk(8)});
  loop_->run();
  settle();
  ASSERT_EQ(outcomes_.size(), 1U);
  EXPECT_GT(outcomes_[0], 0);
}

TEST_F(CaptureFlowTest, AStillOfADaemonThatStaysAwayFailsWithThat) {
  start();
  settle();
  capture();
  source_->show({}, CameraCensus::State::NobodyServes);
  source_->endStreams(EPIPE);
  loop_->advance(5s);
  EXPECT_THAT(outcomes_, ElementsAre(-EPIPE));
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

TEST_F(CaptureFlowTest, ADeviceThatStallsIsStartedAgainAfterTwoSeconds) {
  start();
  frame();
  frame();
  loop_->advance(1999ms);
  EXPECT_EQ(source_->opened, 1);
  loop_->advance(1ms);
  EXPECT_EQ(source_->opened, 2);
}

TEST_F(CaptureFlowTest, AStillOfADeviceThatStallsComesOfItsNextStart) {
  // How many frames come in the first second, and how long after it the camera is started again.
  for (const auto& [frames, silence] :
       {std::pair{0, 3100ms}, std::pair{1, 4100ms}, std::pair{2, 2100ms}, std::pair{20, 2100ms}}) {
    start();
    for (int i = 0; i < frames; ++i)
      frame();
    loop_->advance(1s - frames * kFrame);
    capture();
    loop_->advance(silence);
    ASSERT_TRUE(outcomes_.empty()) << frames;
    settle();
    ASSERT_EQ(outcomes_.size(), 1U) << frames;
    EXPECT_GT(outcomes_[0], 0) << frames;
    outcomes_.clear();
    flow_->stop();
    loop_->run();
  }
}

TEST_F(CaptureFlowTest, ACameraWithLongExposuresIsLeftAlone) {
  start();
  for (const auto exposure : {3000ms, 3000ms, 3000ms, 4500ms}) {
    loop_->advance(exposure - kFrame);
    frame();
  }
  EXPECT_EQ(source_->opened, 1);
}

TEST_F(CaptureFlowTest, ADeviceThatHasNotBegunIsGivenLongerAtEachStart) {
  start();
  loop_->advance(5s);
  EXPECT_EQ(source_->opened, 2);
  loop_->advance(8s);
  frame();
  EXPECT_EQ(source_->opened, 2) << "it needs nine seconds";
  loop_->advance(5s);
  EXPECT_EQ(source_->opened, 3) << "once it has begun, five seconds of silence are long";
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

TEST_F(CaptureFlowTest, FramesAreCopiedForSomebodyWhoLooksOnly) {
  const auto feed = std::make_shared<FrameFeed>();
  flow_->addFeed(feed);
  start();
  for (int i = 0; i < 20; ++i)
    frame();
  EXPECT_EQ(flow_->counts().arrived, 20U);
  EXPECT_EQ(flow_->counts().copied, 0U);
  EXPECT_EQ(feed->latest(), nullptr);
  feed->setListener([] {});
  frame();
  EXPECT_EQ(flow_->counts().copied, 1U);
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
