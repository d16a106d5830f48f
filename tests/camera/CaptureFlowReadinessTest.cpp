// What a session that ran for a still does in the second after its stop.
#include <cerrno>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/camera/CaptureFlowFixture.h"

namespace camera_test {
namespace {

using testing::ElementsAre;
using namespace std::chrono_literals;

class CaptureFlowReadiness : public CaptureFlowTest {
 protected:
  /// A silent run's photo and what comes after it.
  void takeAndStop() {
    start();
    settle();
    capture();
    frame();
    stop();
  }
  void stop() {
    flow_->stop();
    loop_->run();
  }
};

TEST_F(CaptureFlowReadiness, AnotherStillIsTheNextFrame) {
  takeAndStop();
  frame();
  capture();
  frame();
  EXPECT_THAT(outcomes_, ElementsAre(33, 35));
  EXPECT_EQ(source_->opened, 1);
}

TEST_F(CaptureFlowReadiness, LastsAsLongAsStillsAreAskedFor) {
  takeAndStop();
  for (int i = 0; i < 5; ++i) {
    loop_->advance(900ms);
    capture();
    frame();
    stop();
  }
  EXPECT_EQ(outcomes_.size(), 6U);
  EXPECT_THAT(outcomes_, testing::Each(testing::Gt(0)));
  EXPECT_EQ(source_->opened, 1);
}

TEST_F(CaptureFlowReadiness, EndsAfterASecondAndTheCameraIsGivenBack) {
  takeAndStop();
  loop_->advance(1s);
  const auto arrived = flow_->counts().arrived;
  frame();
  EXPECT_EQ(flow_->counts().arrived, arrived);
  capture();
  EXPECT_THAT(outcomes_, ElementsAre(33, -ENOTCONN));
}

TEST_F(CaptureFlowReadiness, WaitsForAStillThatWasAskedForInIt) {
  takeAndStop();
  loop_->advance(900ms);
  capture();
  loop_->advance(200ms);
  frame();
  EXPECT_EQ(outcomes_.size(), 2U);
  EXPECT_EQ(outcomes_.back(), number_);
  loop_->advance(1s);
  capture();
  EXPECT_EQ(outcomes_.back(), -ENOTCONN);
}

TEST_F(CaptureFlowReadiness, ShowsNobodyAnythingAndLooksAtNothing) {
  takeAndStop();
  const auto feed = watch();
  const auto copied = flow_->counts().copied;
  for (int i = 0; i < 20; ++i)
    frame();
  EXPECT_EQ(flow_->counts().copied, copied);
  capture();
  frame();
  EXPECT_EQ(flow_->counts().copied, copied + 1);
  EXPECT_EQ(feed->latest(), nullptr);
  EXPECT_FALSE(flow_->isWatched());
}

TEST_F(CaptureFlowReadiness, AStartGoesOnWithTheRun) {
  takeAndStop();
  start();
  const auto feed = watch();
  // The stop before is forgotten.
  for (int i = 0; i < 60; ++i)
    frame();
  EXPECT_NE(feed->latest(), nullptr);
  EXPECT_EQ(source_->opened, 1);
}

TEST_F(CaptureFlowReadiness, IsNotForASessionThatWasWatched) {
  const auto feed = watch();
  start();
  outliveItsYouth();
  capture();
  frame();
  stop();
  capture();
  EXPECT_THAT(outcomes_, ElementsAre(101, -ENOTCONN));
}

TEST_F(CaptureFlowReadiness, IsNotForASessionThatTookNoStillSinceItsStart) {
  takeAndStop();
  loop_->advance(1s);
  start();
  settle();
  stop();
  capture();
  EXPECT_THAT(outcomes_, ElementsAre(33, -ENOTCONN));
}

TEST_F(CaptureFlowReadiness, IsNotForASessionWhoseStillFailed) {
  start();
  settle();
  capture();
  stop();
  capture();
  EXPECT_THAT(outcomes_, ElementsAre(-ECANCELED, -ENOTCONN));
}

TEST_F(CaptureFlowReadiness, IsNotForASessionThatIsReleased) {
  takeAndStop();
  flow_->release();
  loop_->run();
  capture();
  EXPECT_THAT(outcomes_, ElementsAre(33, -ENOTCONN));
}

TEST_F(CaptureFlowReadiness, TheProgramsEndIsTheEndOfItToo) {
  takeAndStop();
  service_->stopSessions();
  loop_->run();
  EXPECT_TRUE(service_->waitForStills(10s));
  frame();
  EXPECT_EQ(source_->opened, 1);
  EXPECT_THAT(outcomes_, ElementsAre(33));
}

}  // namespace
}  // namespace camera_test
