#include <chrono>

#include <gtest/gtest.h>

#include "platform/linux/camera/Exposure.h"

namespace {

using namespace std::chrono_literals;
using platform_linux::Exposure;
using platform_linux::ExposureTrend;

/// Frames at 30 a second whose brightness grows by `levels` a second from 100 on, for `duration`.
ExposureTrend trendOf(double levels, std::chrono::milliseconds duration) {
  ExposureTrend trend;
  const ExposureTrend::Time begin{};
  for (auto at = 0ms; at <= duration; at += 33ms) {
    const double brightness = 100 + levels * std::chrono::duration<double>(at).count();
    trend.add(begin + at, Exposure{brightness, brightness, brightness});
  }
  return trend;
}

TEST(ExposureTrend, StandsStillWhenNothingMoves) {
  EXPECT_TRUE(trendOf(0, 500ms).hasSettled());
}

TEST(ExposureTrend, MovesWhileTheCameraOpensUpSlowly) {
  EXPECT_FALSE(trendOf(60, 500ms).hasSettled());
}

TEST(ExposureTrend, HasNotBegunWhileNothingIsToBeSeen) {
  ExposureTrend trend;
  for (auto at = 0ms; at <= 500ms; at += 33ms)
    trend.add(ExposureTrend::Time{} + at, {.isBlank = true});
  EXPECT_FALSE(trend.hasSettled());
  trend.add(ExposureTrend::Time{} + 533ms, {});
  EXPECT_TRUE(trend.hasSettled());
}

TEST(ExposureTrend, IsNotKnownFromFramesOfOneMoment) {
  EXPECT_FALSE(trendOf(60, 40ms).hasSettled());
  EXPECT_FALSE(trendOf(0, 40ms).hasSettled());
}

TEST(ExposureTrend, IsKnownOfASlowCameraToo) {
  ExposureTrend trend;
  trend.add(ExposureTrend::Time{}, {100, 100, 100});
  trend.add(ExposureTrend::Time{} + 1s, {100, 100, 100});
  EXPECT_TRUE(trend.hasSettled());
}

}  // namespace
