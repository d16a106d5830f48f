#pragma once

#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/Foundation/NSNotificationCenter.h"

namespace contract {

using MakeNSNotificationCenter = std::shared_ptr<platform::NSNotificationCenter> (*)();

/// What every notification centre promises.
class NSNotificationCenterContract : public testing::TestWithParam<MakeNSNotificationCenter> {
 protected:
  std::function<void()> note(const std::string& what) {
    return [this, what] { heard_.push_back(what); };
  }

  std::shared_ptr<platform::NSNotificationCenter> center_ = GetParam()();
  std::vector<std::string> heard_;
  const int first_ = 0;
  const int second_ = 0;
};

TEST_P(NSNotificationCenterContract, ObserversHearInTheOrderOfTheirComing) {
  center_->addObserver(&second_, "name", note("second"));
  center_->addObserver(&first_, "name", note("first"));
  center_->addObserver(&first_, "other", note("other"));
  center_->postNotificationName("name");
  EXPECT_THAT(heard_, testing::ElementsAre("second", "first"));
}

TEST_P(NSNotificationCenterContract, ARemovedObserverHearsNothingUnderAnyName) {
  center_->addObserver(&first_, "name", note("first"));
  center_->addObserver(&first_, "other", note("first other"));
  center_->addObserver(&second_, "name", note("second"));
  center_->removeObserver(&first_);
  center_->postNotificationName("name");
  center_->postNotificationName("other");
  EXPECT_THAT(heard_, testing::ElementsAre("second"));
}

TEST_P(NSNotificationCenterContract, AnObserverThatIsRemovedMeanwhileHearsNothingMore) {
  center_->addObserver(&first_, "name", [this] {
    heard_.emplace_back("first");
    center_->removeObserver(&second_);
    center_->removeObserver(&first_);
  });
  center_->addObserver(&second_, "name", note("second"));
  center_->postNotificationName("name");
  center_->postNotificationName("name");
  EXPECT_THAT(heard_, testing::ElementsAre("first"));
}

TEST_P(NSNotificationCenterContract, AnObserverMayBeAddedMeanwhile) {
  center_->addObserver(&first_, "name", [this] {
    for (int i = 0; heard_.empty() && i < 100; ++i)
      center_->addObserver(&second_, "other", note("other"));
    heard_.emplace_back("first");
  });
  center_->postNotificationName("name");
  center_->postNotificationName("name");
  EXPECT_THAT(heard_, testing::ElementsAre("first", "first"));
}

}  // namespace contract
