#include <gtest/gtest.h>

#include "platform/linux/camera/StillSchedule.h"

namespace camera_test {
namespace {

using platform_linux::kCameraSilence;
using platform_linux::kExposureSettling;
using platform_linux::StillSchedule;
using namespace std::chrono_literals;

// Times from an arbitrary beginning.
StillSchedule::Time at(std::chrono::milliseconds time) {
  return StillSchedule::Time{} + 1h + time;
}

TEST(StillSchedule, AnswersWithTheFirstFrameOfASettledCamera) {
  StillSchedule schedule;
  ASSERT_TRUE(schedule.request(at(0ms)));
  EXPECT_FALSE(schedule.frameArrived(at(200ms)));
  EXPECT_FALSE(schedule.frameArrived(at(1199ms)));
  EXPECT_TRUE(schedule.frameArrived(at(1200ms)));
  EXPECT_FALSE(schedule.frameArrived(at(1233ms))) << "nothing waits any more";
}

TEST(StillSchedule, SettlesOnceARun) {
  StillSchedule schedule;
  EXPECT_FALSE(schedule.frameArrived(at(0ms)));
  EXPECT_FALSE(schedule.frameArrived(at(3s)));
  ASSERT_TRUE(schedule.request(at(3010ms)));
  EXPECT_TRUE(schedule.frameArrived(at(3033ms)));
  schedule.restart();
  ASSERT_TRUE(schedule.request(at(4s)));
  EXPECT_FALSE(schedule.frameArrived(at(4033ms)));
  EXPECT_TRUE(schedule.frameArrived(at(4033ms) + kExposureSettling));
}

TEST(StillSchedule, FailsWhenNoFrameComesAtAll) {
  StillSchedule schedule;
  EXPECT_FALSE(schedule.deadline()) << "no timer runs while nothing waits";
  ASSERT_TRUE(schedule.request(at(0ms)));
  EXPECT_EQ(schedule.deadline(), at(kCameraSilence));
  EXPECT_FALSE(schedule.hasFallenSilent(at(4999ms)));
  EXPECT_TRUE(schedule.hasFallenSilent(at(5s)));
  EXPECT_FALSE(schedule.deadline());
}

TEST(StillSchedule, CountsSilenceFromTheLastFrame) {
  StillSchedule schedule;
  ASSERT_TRUE(schedule.request(at(0ms)));
  EXPECT_FALSE(schedule.frameArrived(at(800ms)));
  EXPECT_FALSE(schedule.hasFallenSilent(at(5s)));
  EXPECT_EQ(schedule.deadline(), at(5800ms));
  EXPECT_TRUE(schedule.hasFallenSilent(at(5800ms)));
}

TEST(StillSchedule, CountsSilenceFromTheRequestWhenTheLastFrameIsOlder) {
  StillSchedule schedule;
  EXPECT_FALSE(schedule.frameArrived(at(0ms)));
  ASSERT_TRUE(schedule.request(at(60s)));
  EXPECT_EQ(schedule.deadline(), at(65s));
}

TEST(StillSchedule, TheOldestRequestSetsTheDeadline) {
  StillSchedule schedule;
  ASSERT_TRUE(schedule.request(at(0ms)));
  ASSERT_TRUE(schedule.request(at(3s)));
  EXPECT_EQ(schedule.deadline(), at(5s));
}

TEST(StillSchedule, ASilentCameraFailsAtOnceUntilItSendsAgain) {
  StillSchedule schedule;
  ASSERT_TRUE(schedule.request(at(0ms)));
  ASSERT_TRUE(schedule.hasFallenSilent(at(5s)));
  EXPECT_FALSE(schedule.request(at(5s)));
  EXPECT_FALSE(schedule.request(at(60s)));
  EXPECT_FALSE(schedule.deadline());
  EXPECT_FALSE(schedule.frameArrived(at(61s)));
  EXPECT_TRUE(schedule.request(at(62s)));
  EXPECT_TRUE(schedule.frameArrived(at(62033ms)));
}

TEST(StillSchedule, ARestartForgetsTheSilence) {
  StillSchedule schedule;
  ASSERT_TRUE(schedule.request(at(0ms)));
  ASSERT_TRUE(schedule.hasFallenSilent(at(5s)));
  schedule.restart();
  EXPECT_TRUE(schedule.request(at(6s)));
}

}  // namespace
}  // namespace camera_test
