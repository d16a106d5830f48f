#pragma once

#include <chrono>
#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "platform/AppKit/NSApplication.h"

namespace contract {

/// A session in which processes of one application come and go; the test is one of them.
class NSRunningApplicationFactory {
 public:
  virtual ~NSRunningApplicationFactory() = default;
  virtual platform::NSRunningApplication& applications() = 0;
  /// The application's.
  virtual std::string identifier() const = 0;
  /// Starts another process, which counts itself before this returns.
  virtual void startAnother() = 0;
  /// Ends the one that was started first, without a farewell.
  virtual void endFirst() = 0;
};

using MakeNSRunningApplicationFactory = std::unique_ptr<NSRunningApplicationFactory> (*)();

/// What every count of an application's processes promises.
class NSRunningApplicationContract : public testing::TestWithParam<MakeNSRunningApplicationFactory> {
 protected:
  int count() {
    return factory_->applications().runningApplicationsWithBundleIdentifier(factory_->identifier());
  }
  /// Asks until the answer is `expected`, for ten seconds at most: a desktop learns of a death in a moment.
  bool comesTo(int expected) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (count() != expected)
      if (std::chrono::steady_clock::now() > end) return false;
    return true;
  }

  std::unique_ptr<NSRunningApplicationFactory> factory_ = GetParam()();
};

TEST_P(NSRunningApplicationContract, TheOnlyProcessCountsItselfHoweverOftenItAsks) {
  EXPECT_EQ(count(), 1);
  EXPECT_EQ(count(), 1);
}

TEST_P(NSRunningApplicationContract, AnEarlierProcessCounts) {
  factory_->startAnother();
  EXPECT_EQ(count(), 2);
  EXPECT_EQ(count(), 2);
}

TEST_P(NSRunningApplicationContract, OfManyTheLastIsNotTheFirst) {
  for (int i = 0; i < 3; ++i)
    factory_->startAnother();
  EXPECT_GE(count(), 2);
  EXPECT_LE(count(), 4);
}

TEST_P(NSRunningApplicationContract, AProcessThatIsGoneCountsNoMore) {
  factory_->startAnother();
  EXPECT_EQ(count(), 2);
  factory_->endFirst();
  EXPECT_TRUE(comesTo(1));
}

TEST_P(NSRunningApplicationContract, ProcessesOfOtherApplicationsDoNotCount) {
  factory_->startAnother();
  EXPECT_EQ(factory_->applications().runningApplicationsWithBundleIdentifier("com.example.Another"), 1);
}

}  // namespace contract
