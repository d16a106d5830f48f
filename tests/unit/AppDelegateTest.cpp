#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/unit/ToolFixture.h"

namespace camera_shot {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(AppDelegate, IsInvisibleBeforeTheLaunchHasFinished) {
  ToolFixture tool;
  tool.delegate.applicationWillFinishLaunching();
  EXPECT_THAT(tool.journal.lines(), ElementsAre("application setActivationPolicy 2"));
}

TEST(AppDelegate, AsksForNotificationsThenRecordsTheRunThenStartsTheController) {
  ToolFixture tool;
  tool.launch();
  EXPECT_TRUE(tool.journal.inOrder({
      "application setActivationPolicy 2",
      "notifications requestAuthorization 6",
      "last runs setObject a5f597ea-d3f3-4347-bbe6-344e240acc7e 2026-11-21T12:00:00+0000",
      "notifications setDelegate",
  }));
}

TEST(AppDelegate, DoesNotWaitForTheAnswerAboutNotifications) {
  ToolFixture tool;
  tool.launch();
  EXPECT_THAT(tool.notifications.questions, ::testing::SizeIs(1));
  EXPECT_TRUE(tool.controller().running());
}

TEST(AppDelegate, LogsAnAuthorisationErrorAndGoesOn) {
  ToolFixture tool;
  tool.launch();
  tool.journal.clear();
  tool.notifications.answerAuthorization(false, platform::NSError{13, "no notification service"});
  EXPECT_THAT(tool.journal.lines(), ElementsAre("log no notification service (code 13)"));
  EXPECT_FALSE(tool.application.ended);
}

TEST(AppDelegate, SaysNothingAboutARefusalWithoutAnError) {
  for (const bool granted : {false, true}) {
    ToolFixture tool;
    tool.launch();
    tool.journal.clear();
    tool.notifications.answerAuthorization(granted);
    EXPECT_THAT(tool.journal.lines(), IsEmpty());
  }
}

TEST(AppDelegate, NeverLetsThePlatformReopenAWindow) {
  ToolFixture tool;
  tool.launch();
  EXPECT_FALSE(tool.delegate.applicationShouldHandleReopen(true));
  EXPECT_FALSE(tool.delegate.applicationShouldHandleReopen(false));
}

TEST(AppDelegate, LeavesAReopenToTheControllerWhateverTheVisibleWindowsFlagSays) {
  ToolFixture tool{{.showPreview = false}};
  tool.launch();
  tool.delegate.applicationShouldHandleReopen(true);
  tool.delegate.applicationShouldHandleReopen(false);
  EXPECT_EQ(tool.controller().count(), 2);
}

TEST(AppDelegate, OpensThePreferencesForAFileNameThatEndsWithTheToolIdentifier) {
  for (const std::string prefix : {"", "/tmp/", "open-", "file:///run/"}) {
    ToolFixture tool;
    tool.launch();
    EXPECT_TRUE(tool.delegate.applicationOpenFile(prefix + "a5f597ea-d3f3-4347-bbe6-344e240acc7e"));
    EXPECT_TRUE(tool.isVisible(kPreferencesWindow)) << prefix;
  }
}

TEST(AppDelegate, AcceptsEveryOtherFileNameAndDoesNothing) {
  ToolFixture tool;
  tool.launch();
  tool.journal.clear();
  for (const std::string name :
       {"", "photo.png", "a5f597ea-d3f3-4347-bbe6-344e240acc7e.png",
        "/a5f597ea-d3f3-4347-bbe6-344e240acc7e/photo", "A5F597EA-D3F3-4347-BBE6-344E240ACC7E",
        "5f597ea-d3f3-4347-bbe6-344e240acc7e"})
    EXPECT_TRUE(tool.delegate.applicationOpenFile(name)) << name;
  EXPECT_THAT(tool.journal.lines(), IsEmpty());
}

TEST(AppDelegate, OpeningThePreferencesWhileRunningBecomesRegularShowsThemAndActivatesOnALaterTurn) {
  ToolFixture tool{{.showPreview = false}};
  tool.launch();
  tool.loop.advance(500ms);
  tool.journal.clear();

  tool.openPreferences();
  EXPECT_TRUE(tool.journal.inOrder({"application setActivationPolicy 0", "load PreferencesWindowController",
                                    "PreferencesWindowController show"}));
  EXPECT_THAT(tool.journal.of("application activate"), IsEmpty());
  tool.loop.run();
  EXPECT_THAT(tool.journal.of("application activate"),
              ElementsAre("application activateIgnoringOtherApps YES"));

  tool.openPreferences();
  EXPECT_EQ(tool.journal.count("application setActivationPolicy 0"), 2);
  EXPECT_EQ(tool.journal.count("PreferencesWindowController show"), 2);
}

TEST(AppDelegate, HonoursAQuitRequestEvenWhileAPhotoIsBeingTaken) {
  ToolFixture tool;
  tool.launch();
  tool.pressShoot();
  ASSERT_EQ(tool.controller().count(), 1);
  EXPECT_EQ(tool.delegate.applicationShouldTerminate(), platform::NSApplicationTerminateReply::Now);
  tool.application.terminate();
  EXPECT_TRUE(tool.application.ended);
}

TEST(AppDelegate, EndsWithTheLastWindow) {
  ToolFixture tool;
  EXPECT_TRUE(tool.delegate.applicationShouldTerminateAfterLastWindowClosed());
  tool.launch();
  tool.closeWindow(kPreviewWindow);
  EXPECT_TRUE(tool.application.ended);
}

TEST(AppDelegate, ReportsTheQuitAsItsLastWord) {
  ToolFixture tool;
  tool.launch();
  tool.application.terminate();
  tool.loop.advance(10s);
  EXPECT_EQ(tool.journal.lines().back(), usageEvent("Quit", true));
}

TEST(AppDelegate, SurvivesAQuitBeforeTheLaunchHasFinished) {
  ToolFixture tool;
  tool.delegate.applicationWillFinishLaunching();
  tool.application.terminate();
  EXPECT_EQ(tool.journal.lines().back(), usageEvent("Quit", false));
}

}  // namespace
}  // namespace camera_shot
