#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/Foundation/MainQueue.h"

namespace contract {

/// A main queue with a loop that the test runs. Made on the main thread.
class MainQueueFactory {
 public:
  virtual ~MainQueueFactory() = default;
  virtual platform::MainQueue& queue() = 0;
  /// Runs the loop until `done` answers true, ten seconds of its time at most.
  virtual void runUntil(const std::function<bool()>& done) = 0;
  /// Runs the loop until what is due within `time` has run.
  virtual void runFor(std::chrono::milliseconds time) = 0;
  /// The loop has ended.
  virtual void end() = 0;
};

using MakeMainQueueFactory = std::unique_ptr<MainQueueFactory> (*)();

/// What every main queue promises, as far as one thread can see it.
class MainQueueContract : public testing::TestWithParam<MakeMainQueueFactory> {
 protected:
  void runUntilRan(std::size_t count) {
    factory_->runUntil([this, count] { return ran_.size() >= count; });
  }
  std::function<void()> note(const std::string& what) {
    return [this, what] { ran_.push_back(what); };
  }

  std::unique_ptr<MainQueueFactory> factory_ = GetParam()();
  platform::MainQueue& queue_ = factory_->queue();
  std::vector<std::string> ran_;
};

TEST_P(MainQueueContract, RunsWorkLaterAndInOrder) {
  queue_.async(note("first"));
  queue_.async(note("second"));
  EXPECT_TRUE(ran_.empty());
  runUntilRan(2);
  EXPECT_THAT(ran_, testing::ElementsAre("first", "second"));
}

TEST_P(MainQueueContract, WorkMayAddWork) {
  queue_.async([this] {
    queue_.async(note("inner"));
    ran_.emplace_back("outer");
  });
  runUntilRan(2);
  EXPECT_THAT(ran_, testing::ElementsAre("outer", "inner"));
}

TEST_P(MainQueueContract, SyncOnTheMainThreadRunsAtOnce) {
  queue_.async(note("later"));
  queue_.sync(note("now"));
  EXPECT_THAT(ran_, testing::ElementsAre("now"));
}

TEST_P(MainQueueContract, ADelayOfZeroIsStillLater) {
  queue_.after(std::chrono::milliseconds(0), note("later"));
  EXPECT_TRUE(ran_.empty());
  runUntilRan(1);
  EXPECT_THAT(ran_, testing::ElementsAre("later"));
}

TEST_P(MainQueueContract, TheShorterDelayComesFirst) {
  queue_.after(std::chrono::milliseconds(40), note("long"));
  queue_.after(std::chrono::milliseconds(5), note("short"));
  runUntilRan(2);
  EXPECT_THAT(ran_, testing::ElementsAre("short", "long"));
}

TEST_P(MainQueueContract, WhatHasNotStartedAtTheEndIsDropped) {
  queue_.async([this] { factory_->end(); });
  queue_.async(note("work"));
  queue_.after(std::chrono::milliseconds(1), note("delayed work"));
  factory_->runFor(std::chrono::milliseconds(20));
  queue_.async(note("late work"));
  factory_->runFor(std::chrono::milliseconds(20));
  EXPECT_TRUE(ran_.empty());
}

}  // namespace contract
