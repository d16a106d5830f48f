// What becomes of stills when the program ends.
#include <cerrno>
#include <latch>
#include <memory>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/camera/CaptureFlowFixture.h"

namespace camera_test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using namespace std::chrono_literals;

/// Far above what is waited for.
constexpr auto kBound = 10s;

class SessionsEnd : public CaptureFlowTest {
 protected:
  SessionsEnd() {
    start();
    settle();
  }
  void stopSessions() {
    service_->stopSessions();
    loop_->run();
  }
};

TEST_F(SessionsEnd, AStillWhoseFrameIsBeingExaminedGetsIt) {
  capture();
  examiner_->effort = 3s;
  frame();
  stopSessions();
  EXPECT_THAT(outcomes_, IsEmpty());
  loop_->advance(3s);
  EXPECT_THAT(outcomes_, ElementsAre(number_));
  EXPECT_TRUE(service_->waitForStills(kBound));
}

TEST_F(SessionsEnd, TheCameraIsGivenBackAtOnce) {
  capture();
  examiner_->effort = 3s;
  frame();
  stopSessions();
  frame();
  loop_->advance(60s);
  EXPECT_EQ(examiner_->examined.size(), 1U) << "no frame came after the end";
  EXPECT_EQ(source_->opened, 1);
}

TEST_F(SessionsEnd, AStillWithoutAFrameHasNoOutcome) {
  capture();
  stopSessions();
  loop_->advance(60s);
  EXPECT_THAT(outcomes_, IsEmpty());
  EXPECT_TRUE(service_->waitForStills(kBound));
}

TEST_F(SessionsEnd, AStillThatWasAskedForAfterTheFrameHasNoOutcome) {
  capture();
  examiner_->effort = 3s;
  frame();
  capture();
  stopSessions();
  loop_->advance(60s);
  EXPECT_THAT(outcomes_, ElementsAre(number_));
  EXPECT_TRUE(service_->waitForStills(kBound));
}

TEST_F(SessionsEnd, OfDamagedFramesTheBestIsThePhotoAndTheLogSaysSo) {
  capture();
  frame(20);
  const int best = number_;
  examiner_->effort = 3s;
  frame(30);
  stopSessions();
  loop_->advance(3s);
  EXPECT_THAT(outcomes_, ElementsAre(best));
  EXPECT_THAT(journal_.of("log"), ElementsAre(HasSubstr("20 %")));
}

TEST_F(SessionsEnd, ADamagedFrameThatHasBeenExaminedIsThePhotoAtOnce) {
  capture();
  frame(20);
  stopSessions();
  EXPECT_THAT(outcomes_, ElementsAre(number_));
}

TEST_F(SessionsEnd, AFrameOfWhichMostIsLostIsNoPhoto) {
  capture();
  frame(60);
  stopSessions();
  loop_->advance(60s);
  EXPECT_THAT(outcomes_, IsEmpty());
  EXPECT_TRUE(service_->waitForStills(kBound));
}

TEST_F(SessionsEnd, TheEndMayBeToldTwice) {
  stopSessions();
  stopSessions();
  EXPECT_TRUE(service_->waitForStills(kBound));
}

TEST_F(SessionsEnd, AllDeliveriesAreWaitedFor) {
  std::latch mayGoOn{1};
  int delivered = 0;
  service_->worker().deliver(
      [&] {
        mayGoOn.wait();
        ++delivered;
      },
      /*lowersPriority=*/false);
  service_->worker().deliver([&] { ++delivered; }, /*lowersPriority=*/false);
  stopSessions();
  mayGoOn.count_down();
  EXPECT_TRUE(service_->waitForStills(kBound));
  EXPECT_EQ(delivered, 2);
}

TEST_F(SessionsEnd, ADeliveryThatTakesTooLongIsNotWaitedForForEver) {
  // Outlives the test, whose end does not wait for the delivery either.
  const auto mayGoOn = std::make_shared<std::latch>(1);
  service_->worker().deliver([mayGoOn] { mayGoOn->wait(); }, /*lowersPriority=*/false);
  stopSessions();
  EXPECT_FALSE(service_->waitForStills(0ms));
  mayGoOn->count_down();
}

}  // namespace
}  // namespace camera_test
