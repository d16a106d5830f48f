#pragma once

#include <functional>
#include <memory>

#include <gtest/gtest.h>

#include "platform/AppKit/NSSound.h"

namespace contract {

/// A desktop whose sounds can be counted.
class NSSoundFactory {
 public:
  virtual ~NSSoundFactory() = default;
  /// The shutter's sound.
  virtual std::shared_ptr<platform::NSSound> sound() = 0;
  virtual int timesHeard() const = 0;
  /// Lets the desktop go on until `condition` holds; answers whether it does.
  virtual bool runUntil(const std::function<bool()>& condition) = 0;
};

using MakeNSSoundFactory = std::unique_ptr<NSSoundFactory> (*)();

/// What every sound promises.
class NSSoundContract : public testing::TestWithParam<MakeNSSoundFactory> {
 protected:
  bool comesTo(int times) {
    return factory_->runUntil([=, this] { return factory_->timesHeard() == times; });
  }

  std::unique_ptr<NSSoundFactory> factory_ = GetParam()();
};

TEST_P(NSSoundContract, IsHeardThoughItsObjectIsReleased) {
  factory_->sound()->play();
  EXPECT_TRUE(comesTo(1));
}

TEST_P(NSSoundContract, IsHeardEachTimeItIsPlayed) {
  const auto sound = factory_->sound();
  sound->play();
  ASSERT_TRUE(comesTo(1));
  sound->play();
  EXPECT_TRUE(comesTo(2));
}

TEST_P(NSSoundContract, IsSilentUntilItIsPlayed) {
  const auto unplayed = factory_->sound();
  factory_->sound()->play();
  EXPECT_TRUE(comesTo(1));
}

}  // namespace contract
