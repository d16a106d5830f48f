#include <chrono>

#include <gtest/gtest.h>

#include "platform/linux/camera/StreamPatience.h"

namespace {

using namespace std::chrono_literals;
using platform_linux::StreamPatience;

constexpr StreamPatience::Time kBegin{1h};

StreamPatience opened(bool isTrial = false) {
  StreamPatience patience;
  patience.opened(kBegin, isTrial);
  return patience;
}

TEST(StreamPatience, GivesACameraLongerToBeginAtEachStart) {
  auto patience = opened();
  for (const auto longer : {10s, 20s, 40s, 40s}) {
    patience.wasInVain();
    EXPECT_TRUE(patience.isTriedAgain());
    patience.opened(kBegin, false);
    EXPECT_EQ(patience.end(), kBegin + longer);
  }
  EXPECT_FALSE(patience.hasBegun());
}

TEST(StreamPatience, GivesATrialNoLongerThanTheFirstStart) {
  auto patience = opened();
  EXPECT_EQ(patience.end(), kBegin + 4s);
  patience.wasInVain();
  patience.opened(kBegin, true);
  EXPECT_EQ(patience.end(), kBegin + 4s);
}

TEST(StreamPatience, ForgetsWhatWasInVainAtThePictureThatComes) {
  auto patience = opened();
  patience.wasInVain();
  patience.opened(kBegin, false);
  patience.frameArrived(kBegin + 9s);
  EXPECT_TRUE(patience.hasBegun());
  EXPECT_FALSE(patience.isTriedAgain());
  EXPECT_EQ(patience.end(), kBegin + 9s + 5s);
}

TEST(StreamPatience, IsTwoSecondsOnceItIsKnownHowPicturesFollowEachOther) {
  auto patience = opened();
  patience.frameArrived(kBegin);
  patience.frameArrived(kBegin + 33ms);
  EXPECT_EQ(patience.end(), kBegin + 33ms + 2s);
}

TEST(StreamPatience, IsLongerForCamerasWithLongExposures) {
  auto patience = opened();
  patience.frameArrived(kBegin);
  patience.frameArrived(kBegin + 3s);
  EXPECT_EQ(patience.end(), kBegin + 3s + 12s);
}

}  // namespace
