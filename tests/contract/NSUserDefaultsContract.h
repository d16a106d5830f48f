#pragma once

#include <map>
#include <memory>
#include <optional>
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

TEST_P(NSUserDefaultsContract, AnAbsentValueIsEmptyAndNoNumber) {
  EXPECT_FALSE(defaults_->objectForKey("ShowPreview"));
  EXPECT_EQ(defaults_->integerForKey("ShowPreview"), std::nullopt);
  EXPECT_EQ(defaults_->stringForKey("ShowPreview"), "");
}

TEST_P(NSUserDefaultsContract, ABooleanReadsAsOneOrZero) {
  defaults_->setBool(true, "ShowPreview");
  EXPECT_EQ(defaults_->integerForKey("ShowPreview"), 1);
  defaults_->setBool(false, "ShowPreview");
  EXPECT_TRUE(defaults_->objectForKey("ShowPreview"));
  EXPECT_EQ(defaults_->integerForKey("ShowPreview"), 0);
}

TEST_P(NSUserDefaultsContract, ATextReadsAsTheNumberThatItMeans) {
  const std::map<std::string, int> meanings{{"256", 256}, {"-1", -1},   {"1", 1},     {" 0 ", 0}, {"true", 1},
                                            {"True", 1},  {"true ", 1}, {"yes", 1},   {"YES", 1}, {"on", 1},
                                            {"On ", 1},   {"false", 0}, {"FALSE", 0}, {"no", 0},  {"No", 0},
                                            {"\toff", 0}, {"off", 0}};
  for (const auto& [text, number] : meanings) {
    defaults_->setObject(text, "Key");
    EXPECT_EQ(defaults_->integerForKey("Key"), number) << text;
    EXPECT_EQ(defaults_->stringForKey("Key"), text);
  }
}

TEST_P(NSUserDefaultsContract, AnyOtherTextReadsAsNoNumber) {
  for (const std::string text :
       {"", "maybe", "a camera", "12 cameras", "truely", "1.5", "99999999999999999999"}) {
    defaults_->setObject(text, "Key");
    EXPECT_EQ(defaults_->integerForKey("Key"), std::nullopt) << text;
    EXPECT_TRUE(defaults_->objectForKey("Key"));
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
