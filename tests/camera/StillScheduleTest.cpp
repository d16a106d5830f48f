#include <gtest/gtest.h>

#include "platform/linux/camera/StillSchedule.h"

namespace camera_test {
namespace {

using platform_linux::StillSchedule;
using namespace std::chrono_literals;

// Times from an arbitrary beginning.
StillSchedule::Time at(std::chrono::milliseconds time) {
  return StillSchedule::Time{} + 1h + time;
}

TEST(StillSchedule, ARunSettlesASecondAfterItsFirstFrame) {
  StillSchedule schedule;
  EXPECT_FALSE(schedule.hasSettled(at(5s)));
  schedule.frameArrived(at(200ms));
  EXPECT_FALSE(schedule.hasSettled(at(1194ms)));
  EXPECT_TRUE(schedule.hasSettled(at(1200ms)));
  schedule.restart();
  EXPECT_FALSE(schedule.hasSettled(at(1300ms)));
}

TEST(StillSchedule, TheFrameOfTheFullSecondMayComeALittleEarly) {
  StillSchedule schedule;
  schedule.frameArrived(at(205ms));  // a little late
  EXPECT_TRUE(schedule.hasSettled(at(1200ms)));
}

TEST(StillSchedule, ExposureIsLookedAtInARunsFirstSeconds) {
  StillSchedule schedule;
  EXPECT_FALSE(schedule.isYoung(at(0ms)));
  schedule.frameArrived(at(0ms));
  EXPECT_FALSE(schedule.isExposureWorthKnowing(at(799ms)));
  EXPECT_TRUE(schedule.isExposureWorthKnowing(at(800ms)));
  EXPECT_TRUE(schedule.isYoung(at(2999ms)));
  EXPECT_FALSE(schedule.isYoung(at(3s)));
}

TEST(StillSchedule, AStillFailsAfterFiveSecondsWithoutAFrame) {
  const StillSchedule schedule;
  EXPECT_EQ(schedule.deadline(at(60s)), at(65s));
}

TEST(StillSchedule, FramesOfASettlingCameraPutTheEndOff) {
  StillSchedule schedule;
  schedule.frameArrived(at(800ms));
  EXPECT_EQ(schedule.deadline(at(0ms)), at(5800ms));
  EXPECT_EQ(schedule.deadline(at(60s)), at(65s)) << "not those from before the request";
  schedule.frameArrived(at(2s));
  EXPECT_EQ(schedule.deadline(at(0ms)), at(5800ms)) << "a later one might have been the still";
  schedule.exposureMoves(at(2s));
  EXPECT_EQ(schedule.deadline(at(0ms)), at(7s));
}

TEST(StillSchedule, RunsThatBeginAgainAndAgainDoNotPutItOffForEver) {
  StillSchedule schedule;
  for (auto time = 0ms; time < 20s; time += 500ms) {
    schedule.restart();
    schedule.frameArrived(at(time));
  }
  EXPECT_EQ(schedule.deadline(at(0ms)), at(8s));
}

TEST(StillSchedule, SilenceLastsUntilTheNextFrame) {
  StillSchedule schedule;
  schedule.fallSilent();
  schedule.restart();
  EXPECT_TRUE(schedule.isSilent()) << "a new attempt is no frame";
  schedule.frameArrived(at(0ms));
  EXPECT_FALSE(schedule.isSilent());
}

}  // namespace
}  // namespace camera_test
