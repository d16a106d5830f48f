#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/unit/ToolFixture.h"

namespace camera_shot {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

const std::string kSaved =
    "notify Photo_Taken_Notification: Camera shot taken.\\nClick here to show in Finder.";

TEST(ShotFlow, ReportsThenSendsAnalyticsThenRequestsTheCapture) {
  ToolFixture tool;
  tool.launch();
  tool.journal.clear();
  tool.controller().takePhoto();
  EXPECT_THAT(tool.journal.lines(),
              ElementsAre(usageEvent("Start", true), kShotAnalytics, "photo connection automaticMirroring NO",
                          "photo connection mirrored YES", "output capture AVVideoCodecKey=jpeg"));
  EXPECT_EQ(tool.controller().count(), 1);
}

TEST(ShotFlow, FinishesWithStopThenTheNotification) {
  ToolFixture tool;
  tool.launch();
  tool.controller().takePhoto();
  tool.deliverPhoto();
  tool.journal.clear();
  tool.loop.run();
  EXPECT_TRUE(
      tool.journal.inOrder({usageEvent("Stop", true), "application activateIgnoringOtherApps YES", kSaved}));
  EXPECT_EQ(tool.controller().count(), 0);
}

TEST(ShotFlow, OfASilentRunStopsTheSessionAfterTheNotificationAndQuitsASecondLater) {
  ToolFixture tool{{.showPreview = false}};
  tool.launch();
  tool.loop.advance(1s);
  tool.savePhoto();
  EXPECT_TRUE(tool.journal.inOrder({usageEvent("Stop", false), kSaved, "session stopRunning"}));
  tool.loop.advance(999ms);
  EXPECT_FALSE(tool.application.ended);
  tool.loop.advance(1ms);
  EXPECT_TRUE(tool.application.ended);
}

TEST(ShotFlow, OfAPreviewRunKeepsTheSessionAndTheTool) {
  ToolFixture tool;
  tool.launch();
  tool.pressShoot();
  tool.savePhoto();
  tool.loop.advance(10s);
  EXPECT_TRUE(tool.avFoundation.sessions.back()->running);
  EXPECT_THAT(tool.journal.of("session stopRunning"), IsEmpty());
  EXPECT_FALSE(tool.application.ended);
}

TEST(ShotFlow, TwoQuickShotsAreTwoCapturesAndNeverStopTheVisiblePreview) {
  ToolFixture tool;
  tool.launch();
  tool.pressShoot();
  tool.pressShoot();
  EXPECT_EQ(tool.controller().count(), 2);
  EXPECT_EQ(tool.avFoundation.output().pending(), 2);
  tool.savePhoto();
  EXPECT_EQ(tool.controller().count(), 1);
  tool.savePhoto();
  EXPECT_EQ(tool.controller().count(), 0);
  EXPECT_EQ(tool.journal.count(usageEvent("Start", true)), 2);
  EXPECT_EQ(tool.journal.count(usageEvent("Stop", true)), 2);
  EXPECT_EQ(tool.journal.count(kSaved), 2);
  EXPECT_THAT(tool.journal.of("session stopRunning"), IsEmpty());
}

TEST(ShotFlow, OfTwoSilentShotsOnlyTheLastStopsTheSessionAndQuits) {
  ToolFixture tool{{.showPreview = false}};
  tool.launch();
  tool.loop.advance(1s);
  tool.clickMenuIcon();
  tool.savePhoto();
  EXPECT_TRUE(tool.avFoundation.sessions.back()->running);
  tool.loop.advance(10s);
  EXPECT_FALSE(tool.application.ended);
  tool.savePhoto();
  EXPECT_FALSE(tool.avFoundation.sessions.back()->running);
  tool.loop.advance(1s);
  EXPECT_TRUE(tool.application.ended);
}

TEST(ShotFlow, OutlivesAPreviewClosedBeforeTheSave) {
  ToolFixture tool;
  tool.launch();
  tool.pressShoot();
  tool.pressClose();
  EXPECT_TRUE(tool.avFoundation.sessions.back()->running);
  tool.loop.advance(5s);
  EXPECT_FALSE(tool.application.ended);
  tool.savePhoto();
  EXPECT_FALSE(tool.avFoundation.sessions.back()->running);
  tool.loop.advance(1s);
  EXPECT_TRUE(tool.application.ended);
}

TEST(ShotFlow, WithThePreviewClosedStaysWhileThePreferencesAreVisible) {
  ToolFixture tool;
  tool.launch();
  tool.pressShoot();
  tool.pressClose();
  tool.openPreferences();
  tool.savePhoto();
  EXPECT_FALSE(tool.avFoundation.sessions.back()->running);
  tool.loop.advance(10s);
  EXPECT_FALSE(tool.application.ended);
}

TEST(ShotFlow, EndsInTheTakerThatBeganItThoughTheCameraIsGone) {
  ToolFixture tool;
  tool.launch();
  tool.unplug("Desk camera");
  tool.controller().takePhoto();
  tool.savePhoto();
  EXPECT_EQ(tool.controller().count(), 0);
  EXPECT_EQ(tool.journal.count(kSaved), 1);
}

TEST(MenuIcon, TakesAPhoto) {
  ToolFixture tool;
  tool.launch();
  tool.clickMenuIcon();
  EXPECT_EQ(tool.controller().count(), 1);
}

TEST(MenuIcon, OnlyBringsTheToolToTheFrontWhileThePreferencesAreOpen) {
  ToolFixture tool;
  tool.launchForPreferences();
  tool.journal.clear();
  tool.clickMenuIcon();
  EXPECT_THAT(tool.journal.lines(), ElementsAre("application activateIgnoringOtherApps YES"));
  EXPECT_EQ(tool.controller().count(), 0);
}

TEST(FailedShot, TellsTheUserAndLeavesTheCounterRaised) {
  ToolFixture tool;
  tool.launch();
  tool.pressShoot();
  tool.journal.clear();
  tool.failShot();
  EXPECT_THAT(tool.journal.of("notify"), ElementsAre("notify Photo_Taken_Notification_Error: Error occured"));
  EXPECT_THAT(tool.journal.of("event"), IsEmpty());
  EXPECT_THAT(tool.journal.of("session"), IsEmpty());
  EXPECT_EQ(tool.controller().count(), 1);
}

TEST(FailedShot, KeepsASilentToolUpWithoutAWindow) {
  ToolFixture tool{{.showPreview = false}};
  tool.launch();
  tool.loop.advance(1s);
  tool.failShot();
  tool.loop.advance(60s);
  EXPECT_FALSE(tool.application.ended);
  EXPECT_TRUE(tool.avFoundation.sessions.back()->running);
}

TEST(FailedShot, EndsTheFollowingOfCamerasPreviewAndQuit) {
  ToolFixture tool{{.cameras = {"First", "Second"}}};
  tool.launch();
  tool.pressShoot();
  tool.failShot();
  tool.journal.clear();
  tool.unplug("First");
  tool.loop.advance(5s);
  tool.pressClose();
  tool.loop.advance(5s);
  EXPECT_THAT(tool.journal.of("session"), IsEmpty());
  EXPECT_EQ(tool.takersMade(), 1U);
  EXPECT_FALSE(tool.application.ended);
}

TEST(FailedShot, StillLetsTheNextOneSucceedWithoutEndingTheRun) {
  ToolFixture tool{{.showPreview = false}};
  tool.launch();
  tool.loop.advance(1s);
  tool.failShot();
  tool.clickMenuIcon();
  tool.savePhoto();
  EXPECT_EQ(tool.journal.count(kSaved), 1);
  EXPECT_EQ(tool.controller().count(), 1);
  tool.loop.advance(10s);
  EXPECT_TRUE(tool.avFoundation.sessions.back()->running);
  EXPECT_FALSE(tool.application.ended);
}

TEST(FailedShot, LeavesTheLastWindowsCloseToEndTheTool) {
  ToolFixture tool;
  tool.launch();
  tool.pressShoot();
  tool.failShot();
  tool.closeWindow(kPreviewWindow);
  EXPECT_TRUE(tool.application.ended);
}

TEST(ShotWithoutATaker, IsReportedAndCountedAndGoesNowhere) {
  ToolFixture tool{{.cameras = {}}};
  tool.launch();
  tool.journal.clear();
  tool.clickMenuIcon();
  tool.loop.advance(10s);
  EXPECT_EQ(tool.journal.of("event"), std::vector{usageEvent("Start", true)});
  EXPECT_EQ(tool.journal.count(kShotAnalytics), 1);
  EXPECT_THAT(tool.journal.of("output"), IsEmpty());
  EXPECT_THAT(tool.journal.of("notify"), IsEmpty());
  EXPECT_EQ(tool.controller().count(), 1);
}

}  // namespace
}  // namespace camera_shot
