#pragma once

#include <chrono>
#include <functional>
#include <memory>

#include <gtest/gtest.h>

#include "platform/Foundation/NSTimer.h"

namespace contract {

/// A run loop that the test turns.
class NSRunLoopFactory {
 public:
  virtual ~NSRunLoopFactory() = default;
  virtual platform::NSRunLoop& runLoop() = 0;
  /// Runs the loop until `done` answers true, ten seconds of its time at most.
  virtual void runUntil(const std::function<bool()>& done) = 0;
};

using MakeNSRunLoopFactory = std::unique_ptr<NSRunLoopFactory> (*)();

/// What the timers of every run loop promise.
class NSRunLoopContract : public testing::TestWithParam<MakeNSRunLoopFactory> {
 protected:
  std::shared_ptr<platform::NSTimer> every(int milliseconds, std::function<void()> action) {
    return factory_->runLoop().addRepeatingTimer(std::chrono::milliseconds(milliseconds), std::move(action));
  }
  /// Runs the loop until a timer that is added now has fired three times: whatever else was due has had its
  /// turn.
  void runAWhile() {
    int turns = 0;
    const auto clock = every(20, [&] { ++turns; });
    factory_->runUntil([&] { return turns == 3; });
  }

  std::unique_ptr<NSRunLoopFactory> factory_ = GetParam()();
};

TEST_P(NSRunLoopContract, ATimerRepeats) {
  int fired = 0;
  const auto timer = every(1, [&] { ++fired; });
  EXPECT_EQ(fired, 0);
  factory_->runUntil([&] { return fired == 3; });
  EXPECT_EQ(fired, 3);
}

TEST_P(NSRunLoopContract, AnInvalidatedTimerIsSilent) {
  int fired = 0;
  const auto timer = every(1, [&] { ++fired; });
  timer->invalidate();
  timer->invalidate();
  runAWhile();
  EXPECT_EQ(fired, 0);
}

TEST_P(NSRunLoopContract, AReleasedTimerIsSilent) {
  int fired = 0;
  every(1, [&] { ++fired; }).reset();
  runAWhile();
  EXPECT_EQ(fired, 0);
}

TEST_P(NSRunLoopContract, ATimerMayInvalidateItselfInItsAction) {
  int fired = 0;
  std::shared_ptr<platform::NSTimer> timer;
  const auto kept = std::make_shared<int>(7);
  timer = every(1, [&, kept] {
    timer->invalidate();
    fired += *kept;
  });
  runAWhile();
  EXPECT_EQ(fired, 7);
}

TEST_P(NSRunLoopContract, ATimerMayBeReleasedInItsAction) {
  int fired = 0;
  std::shared_ptr<platform::NSTimer> timer;
  const auto kept = std::make_shared<int>(7);
  timer = every(1, [&, kept] {
    timer.reset();
    fired += *kept;
  });
  runAWhile();
  EXPECT_EQ(fired, 7);
}

}  // namespace contract
