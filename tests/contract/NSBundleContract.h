#pragma once

#include <map>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "platform/Foundation/NSBundle.h"

namespace contract {

/// Translations by table and key; the main table is called "".
using BundleTables = std::map<std::string, std::map<std::string, std::string>>;

/// Makes the bundle of "com.verrano.quillo.CameraShot" with those translations into the user's language.
using MakeNSBundle = std::shared_ptr<platform::NSBundle> (*)(const BundleTables& tables);

/// What every bundle promises.
class NSBundleContract : public testing::TestWithParam<MakeNSBundle> {
 protected:
  static std::shared_ptr<platform::NSBundle> make(const BundleTables& tables) { return GetParam()(tables); }

  const std::shared_ptr<platform::NSBundle> bundle_ =
      make({{"", {{"Camera shot", "Aufnahme"}, {"Done", ""}}}, {"other", {{"Open", "Auf"}}}});
};

TEST_P(NSBundleContract, TheIdentifierIsTheApplications) {
  EXPECT_EQ(bundle_->bundleIdentifier(), "com.verrano.quillo.CameraShot");
}

TEST_P(NSBundleContract, AKeyIsTranslatedWhateverTheValue) {
  EXPECT_EQ(bundle_->localizedStringForKey("Camera shot"), "Aufnahme");
  EXPECT_EQ(bundle_->localizedStringForKey("Camera shot", "value"), "Aufnahme");
}

TEST_P(NSBundleContract, WithoutATranslationTheValueOrElseTheKeyIsShown) {
  EXPECT_EQ(bundle_->localizedStringForKey("Open"), "Open");
  EXPECT_EQ(bundle_->localizedStringForKey("Open", "value"), "value");
  EXPECT_EQ(bundle_->localizedStringForKey("Camera"), "Camera");
  EXPECT_EQ(bundle_->localizedStringForKey("camera shot"), "camera shot");
}

TEST_P(NSBundleContract, WithoutAnyTableTheKeyIsShown) {
  const auto bare = make({});
  EXPECT_EQ(bare->localizedStringForKey("Camera shot"), "Camera shot");
  EXPECT_EQ(bare->localizedStringForKey("Camera shot", "value"), "value");
  EXPECT_EQ(bare->localizedStringForKey("Camera shot", {}, "nowhere"), "Camera shot");
}

TEST_P(NSBundleContract, AnEmptyTranslationIsNone) {
  EXPECT_EQ(bundle_->localizedStringForKey("Done"), "Done");
  EXPECT_EQ(bundle_->localizedStringForKey("Done", "value"), "value");
}

TEST_P(NSBundleContract, AnEmptyKeyHasNoTranslation) {
  EXPECT_EQ(bundle_->localizedStringForKey(""), "");
  EXPECT_EQ(bundle_->localizedStringForKey("", "value"), "value");
}

TEST_P(NSBundleContract, EachTableHasItsOwnTexts) {
  EXPECT_EQ(bundle_->localizedStringForKey("Open", {}, "other"), "Auf");
  EXPECT_EQ(bundle_->localizedStringForKey("Camera shot", {}, "other"), "Camera shot");
}

TEST_P(NSBundleContract, ManyThreadsMayAskAtOnce) {
  std::vector<std::thread> threads;
  threads.reserve(4);
  for (int i = 0; i < 4; ++i)
    threads.emplace_back([this] {
      EXPECT_EQ(bundle_->localizedStringForKey("Camera shot"), "Aufnahme");
      EXPECT_EQ(bundle_->localizedStringForKey("Open", {}, "other"), "Auf");
    });
  for (std::thread& thread : threads)
    thread.join();
}

}  // namespace contract
