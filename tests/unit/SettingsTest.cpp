#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/unit/WindowFixtures.h"

namespace camera_shot {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(Settings, OfAFirstStartUseThePreviewAndChooseNoCamera) {
  PreferencesFixture desk{{"First", "Second"}};
  EXPECT_TRUE(desk.preferences().showPreview());
  EXPECT_EQ(desk.preferences().videoSourceID(), "");
  EXPECT_EQ(desk.chosenID(), "id of First");
  EXPECT_THAT(desk.journal.of("defaults"), IsEmpty());
}

TEST(Settings, ReadTheLowestByteOfAStoredInteger) {
  const std::vector<std::pair<std::string, bool>> stored{
      {"true", true}, {"false", false}, {"1", true},   {"0", false}, {"2", true},
      {"256", false}, {"512", false},   {"257", true}, {"-1", true}, {"128", true},
  };
  for (const auto& [value, showPreview] : stored) {
    PreferencesFixture desk;
    desk.defaults.values["ShowPreview"] = value;
    EXPECT_EQ(desk.preferences().showPreview(), showPreview) << value;
  }
}

TEST(Settings, WhatCannotBeReadCountsAsAbsent) {
  for (const std::string value : {"", "perhaps", "12 cameras"}) {
    PreferencesFixture desk;
    desk.defaults.values["ShowPreview"] = value;
    EXPECT_TRUE(desk.preferences().showPreview()) << value;
  }
}

TEST(Settings, HaveKeysThatAreExact) {
  PreferencesFixture desk{{"First", "Second"}};
  desk.defaults.values = {{"showpreview", "false"}, {"videoSourceID", "id of Second"}};
  EXPECT_TRUE(desk.preferences().showPreview());
  EXPECT_EQ(desk.preferences().videoSourceID(), "");
}

TEST(Settings, AreReadOnceAndNeverAgain) {
  PreferencesFixture desk;
  desk.preferences();
  desk.defaults.values = {{"ShowPreview", "false"}, {"VideoSourceID", "other"}};
  desk.layout();
  EXPECT_TRUE(desk.preferences().showPreview());
  EXPECT_EQ(desk.preferences().videoSourceID(), "");
}

TEST(Settings, AreWrittenThroughAtOnceWhenTheSwitchChanges) {
  PreferencesFixture desk;
  desk.layout();
  desk.journal.clear();
  desk.switchPreview(0);
  EXPECT_THAT(desk.journal.lines(), ElementsAre("defaults setBool ShowPreview NO", "defaults synchronize"));
  EXPECT_FALSE(desk.preferences().showPreview());
  desk.journal.clear();
  desk.switchPreview(1);
  EXPECT_THAT(desk.journal.lines(), ElementsAre("defaults setBool ShowPreview YES", "defaults synchronize"));
  EXPECT_TRUE(desk.preferences().showPreview());
}

TEST(Settings, TakeOnlyTheOnStateForOn) {
  PreferencesFixture desk;
  for (const int state : {-1, 2}) {
    desk.switchPreview(state);
    EXPECT_FALSE(desk.preferences().showPreview()) << state;
  }
}

TEST(Settings, AreWrittenThroughAtOnceWhenACameraIsChosen) {
  PreferencesFixture desk{{"First", "Second"}};
  desk.popup().selected = 1;
  desk.journal.clear();
  desk.layout().press("onVideoSelect");
  EXPECT_THAT(desk.journal.lines(),
              ElementsAre("defaults setObject VideoSourceID id of Second", "defaults synchronize"));
  EXPECT_EQ(desk.preferences().videoSourceID(), "id of Second");
}

TEST(Settings, ReadBackWhatTheToolWrote) {
  PreferencesFixture desk{{"First", "Second"}};
  desk.switchPreview(0);
  desk.popup().selected = 1;
  desk.layout().press("onVideoSelect");
  desk.made.reset();
  EXPECT_FALSE(desk.preferences().showPreview());
  EXPECT_EQ(desk.chosenID(), "id of Second");
}

TEST(CameraChoice, IsTheStoredOneWhileItIsThere) {
  PreferencesFixture desk{{"First", "Second"}};
  desk.defaults.values["VideoSourceID"] = "id of Second";
  EXPECT_EQ(desk.chosenID(), "id of Second");
}

TEST(CameraChoice, IsCaseSensitive) {
  PreferencesFixture desk{{"First", "Second"}};
  desk.defaults.values["VideoSourceID"] = "ID OF SECOND";
  EXPECT_EQ(desk.chosenID(), "id of First");
}

TEST(CameraChoice, FallsToTheFirstAndBackWithoutForgettingTheStoredOne) {
  PreferencesFixture desk{{"First"}};
  desk.defaults.values["VideoSourceID"] = "id of Second";
  EXPECT_EQ(desk.chosenID(), "id of First");
  EXPECT_EQ(desk.preferences().videoSourceID(), "id of Second");
  desk.addCamera("Second", "id of Second");
  EXPECT_EQ(desk.chosenID(), "id of Second");
  EXPECT_THAT(desk.journal.of("defaults"), IsEmpty());
}

TEST(CameraChoice, IsNoneWithoutCamerasAndWritesNothing) {
  PreferencesFixture desk;
  EXPECT_EQ(desk.chosenID(), "none");
  EXPECT_THAT(desk.journal.of("defaults"), IsEmpty());
}

TEST(CameraChoice, AsksForTheListAfreshEveryTime) {
  PreferencesFixture desk{{"First"}};
  desk.chosenID();
  desk.chosenID();
  EXPECT_EQ(desk.journal.count("cameras listed"), 2);
}

TEST(CameraChoice, EndsAtTheFirstOfTwoEqualIdentities) {
  PreferencesFixture desk;
  desk.addCamera("Other", "other");
  desk.addCamera("Left", "same");
  desk.addCamera("Right", "same");
  desk.defaults.values["VideoSourceID"] = "same";
  EXPECT_EQ(desk.preferences().videoCaptureDevice()->localizedName(), "Left");
}

TEST(CameraChoice, IsNoneWhenThePlatformDoesNotKnowTheIdentity) {
  PreferencesFixture desk{{"First", "Second"}};
  desk.avFoundation.unknown = {"id of First", "id of Second"};
  EXPECT_EQ(desk.chosenID(), "none");
  desk.made.reset();
  desk.defaults.values["VideoSourceID"] = "id of Second";
  EXPECT_EQ(desk.chosenID(), "none");
}

}  // namespace
}  // namespace camera_shot
