#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>

#include <gtest/gtest.h>

#include "platform/linux/camera/Exposure.h"

namespace {

using namespace std::chrono_literals;
using platform_linux::Exposure;
using platform_linux::ExposureTrend;

/// A frame of that exposure arrives at `time`.
void addFrame(ExposureTrend& trend, ExposureTrend::Time time, const Exposure& exposure) {
  trend.frameArrived(time);
  trend.add(trend.lastArrival(), exposure);
}

/// Frames at 30 a second whose brightness grows by `levels` a second from 100 on, for `duration`.
ExposureTrend trendOf(double levels, std::chrono::milliseconds duration) {
  ExposureTrend trend;
  const ExposureTrend::Time begin{};
  for (auto at = 0ms; at <= duration; at += 33ms) {
    const double brightness = 100 + levels * std::chrono::duration<double>(at).count();
    addFrame(trend, begin + at, Exposure{brightness, brightness, brightness});
  }
  return trend;
}

/// YUY2 pictures of one colour, in which one pixel may be brighter.
bool isBlank(std::array<std::uint8_t, 4> pixels, std::uint8_t spot = 0) {
  picture::Frame frame;
  frame.format = picture::PixelFormat::YUY2;
  frame.width = frame.height = 32;
  frame.stride = 64;
  for (int i = 0; i < frame.stride * frame.height; ++i)
    frame.bytes.push_back(pixels.at(static_cast<std::size_t>(i) % 4));
  frame.bytes[0] = std::max(frame.bytes[0], spot);
  return platform_linux::exposureOf(frame).value().isBlank;
}

TEST(Exposure, IsBlankOfBlackAndOfEmptyBuffers) {
  EXPECT_TRUE(isBlank({16, 128, 16, 128}));
  EXPECT_TRUE(isBlank({0, 0, 0, 0}));
}

TEST(Exposure, IsNotBlankOfOtherColoursAndWhereSomethingIsToBeSeen) {
  EXPECT_FALSE(isBlank({81, 90, 81, 240}));
  EXPECT_FALSE(isBlank({235, 128, 235, 128}));
  EXPECT_FALSE(isBlank({16, 128, 16, 128}, 60));
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
    addFrame(trend, ExposureTrend::Time{} + at, {.isBlank = true});
  EXPECT_FALSE(trend.hasSettled());
  addFrame(trend, ExposureTrend::Time{} + 533ms, {});
  EXPECT_TRUE(trend.hasSettled());
}

TEST(ExposureTrend, IsNotKnownFromFramesOfOneMoment) {
  EXPECT_FALSE(trendOf(60, 40ms).hasSettled());
  EXPECT_FALSE(trendOf(0, 40ms).hasSettled());
}

TEST(ExposureTrend, IsKnownOfASlowCameraToo) {
  ExposureTrend trend;
  addFrame(trend, ExposureTrend::Time{}, {100, 100, 100});
  addFrame(trend, ExposureTrend::Time{} + 1s, {100, 100, 100});
  EXPECT_TRUE(trend.hasSettled());
}

TEST(ExposureTrend, AFrameThatWasHeldUpIsNotTakenForALaterOne) {
  ExposureTrend trend;
  for (auto at = 0ms; at < 800ms; at += 33ms)
    trend.frameArrived(ExposureTrend::Time{} + at);
  // The next two, of which the second comes a tenth of a second late: 4.5 levels in 33 ms is no standstill.
  addFrame(trend, ExposureTrend::Time{} + 825ms, {150, 150, 150});
  addFrame(trend, ExposureTrend::Time{} + 958ms, {154.5, 154.5, 154.5});
  EXPECT_FALSE(trend.hasSettled());
}

}  // namespace
