#pragma once

#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "platform/Foundation/NSUserDefaults.h"

namespace contract {

/// Domains of settings over one store.
class NSUserDefaultsFactory {
 public:
  virtual ~NSUserDefaultsFactory() = default;
  /// The domain, as a process that starts now sees it.
  virtual std::unique_ptr<platform::NSUserDefaults> open() = 0;
};

using MakeNSUserDefaultsFactory = std::unique_ptr<NSUserDefaultsFactory> (*)();

/// What every domain of settings promises.
class NSUserDefaultsContract : public testing::TestWithParam<MakeNSUserDefaultsFactory> {
 protected:
  std::unique_ptr<NSUserDefaultsFactory> factory_ = GetParam()();
  std::unique_ptr<platform::NSUserDefaults> defaults_ = factory_->open();
};

TEST_P(NSUserDefaultsContract, AnAbsentValueIsEmptyAndZero) {
  EXPECT_FALSE(defaults_->objectForKey("ShowPreview"));
  EXPECT_EQ(defaults_->integerForKey("ShowPreview"), 0);
  EXPECT_EQ(defaults_->stringForKey("ShowPreview"), "");
}

TEST_P(NSUserDefaultsContract, ABooleanReadsAsOneOrZero) {
  defaults_->setBool(true, "ShowPreview");
  EXPECT_EQ(defaults_->integerForKey("ShowPreview"), 1);
  defaults_->setBool(false, "ShowPreview");
  EXPECT_TRUE(defaults_->objectForKey("ShowPreview"));
  EXPECT_EQ(defaults_->integerForKey("ShowPreview"), 0);
}

TEST_P(NSUserDefaultsContract, ATextReadsAsTheNumberThatItIs) {
  for (const auto& [text, number] :
       {std::pair("256", 256), std::pair("-1", -1), std::pair("true", 1), std::pair("false", 0),
        std::pair("a camera", 0), std::pair("12 cameras", 0)}) {
    defaults_->setObject(text, "Key");
    EXPECT_EQ(defaults_->integerForKey("Key"), number) << text;
    EXPECT_EQ(defaults_->stringForKey("Key"), text);
  }
}

TEST_P(NSUserDefaultsContract, AnEmptyTextIsAValue) {
  defaults_->setObject("", "VideoSourceID");
  EXPECT_TRUE(defaults_->objectForKey("VideoSourceID"));
  EXPECT_EQ(defaults_->stringForKey("VideoSourceID"), "");
}

TEST_P(NSUserDefaultsContract, KeysAreCaseSensitive) {
  defaults_->setObject("desk", "VideoSourceID");
  EXPECT_FALSE(defaults_->objectForKey("videosourceid"));
}

TEST_P(NSUserDefaultsContract, WhatIsSynchronizedIsThereForTheNextStart) {
  defaults_->setObject("desk", "VideoSourceID");
  defaults_->setBool(false, "ShowPreview");
  EXPECT_TRUE(defaults_->synchronize());
  const auto next = factory_->open();
  EXPECT_EQ(next->stringForKey("VideoSourceID"), "desk");
  EXPECT_TRUE(next->objectForKey("ShowPreview"));
  EXPECT_EQ(next->integerForKey("ShowPreview"), 0);
}

}  // namespace contract
