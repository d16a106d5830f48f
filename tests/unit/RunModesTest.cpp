#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/unit/ToolFixture.h"

namespace camera_shot {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

const std::string kPhotoPath = "/home/ada/Pictures/Camera shot.png";

/// What every run does before it decides how it goes.
TEST(StartUp, WiresTheToolInOrder) {
  ToolFixture tool;
  tool.launch();
  const auto& lines = tool.journal.lines();
  const auto first = std::find(lines.begin(), lines.end(), "notifications setDelegate");
  const std::vector<std::string> wiring(first, std::find(first, lines.end(), usageEvent("Launch", true)));
  EXPECT_THAT(wiring,
              ElementsAre("notifications setDelegate", "notifications setCategories",
                          "center addObserver AVCaptureDeviceWasDisconnectedNotification",
                          "center addObserver AVCaptureDeviceWasConnectedNotification", "timer every 1000 ms",
                          "center addObserver AVCaptureDeviceWasConnectedNotification",
                          "center addObserver AVCaptureDeviceWasDisconnectedNotification",
                          "running applications com.verrano.quillo.CameraShot"));
}

TEST(StartUp, TellsTheSuiteThatItStartsAndThenThatItRuns) {
  ToolFixture tool;
  std::vector<int> told;
  tool.suite.common.toolDataClientProvider()->setStatusObserver([&](int status) { told.push_back(status); });
  tool.launch();
  EXPECT_THAT(told, ElementsAre(0, 1));
}

TEST(StartUp, IsTheDelegateOfTheNotificationCentre) {
  ToolFixture tool;
  tool.launch();
  EXPECT_EQ(tool.notifications.delegate.lock(), tool.delegate.controller());
}

TEST(StartUp, HandsItselfToThePreferencesAsTheKnowerOfTheSuitesClient) {
  ToolFixture tool;
  tool.launch();
  const auto& preferences = *tool.controller().preferences();
  ASSERT_TRUE(preferences.clientProvider());
  EXPECT_EQ(preferences.clientProvider()->provider(), tool.suite.common.toolDataClientProvider());
}

TEST(ClickLaunch, ReportsThenHandlesTheClickAndQuitsATenthOfASecondLater) {
  ToolFixture tool;
  tool.launchByClickOn(kPhotoPath);
  EXPECT_TRUE(tool.journal.inOrder({usageEvent("Launch", true, "{\"ClickOnNotification\":true}"),
                                    "workspace select " + kPhotoPath + " root \"\""}));
  tool.loop.advance(99ms);
  EXPECT_FALSE(tool.application.ended);
  tool.loop.advance(1ms);
  EXPECT_TRUE(tool.application.ended);
}

TEST(ClickLaunch, StaysATenthOfASecondAfterAClickThatTookItsTime) {
  ToolFixture tool;
  tool.workspace.whileSelecting = [&] { tool.loop.advance(300ms); };
  tool.launchByClickOn(kPhotoPath);
  EXPECT_TRUE(tool.journal.has("workspace select " + kPhotoPath + " root \"\""));
  tool.loop.advance(99ms);
  EXPECT_FALSE(tool.application.ended);
  tool.loop.advance(1ms);
  EXPECT_TRUE(tool.application.ended);
}

TEST(ClickLaunch, StartsNothingElse) {
  ToolFixture tool;
  tool.launchByClickOn(kPhotoPath);
  tool.loop.advance(10s);
  EXPECT_EQ(tool.takersMade(), 0U);
  EXPECT_THAT(tool.journal.of("cameras listed"), IsEmpty());
  EXPECT_THAT(tool.journal.of("access requested"), IsEmpty());
  EXPECT_THAT(tool.journal.of("load"), IsEmpty());
  EXPECT_THAT(tool.journal.of("running applications"), IsEmpty());
  EXPECT_FALSE(tool.controller().running());
  EXPECT_EQ(tool.controller().provider()->toolStatus(), 0);
}

TEST(ClickLaunch, LeavesACameraThatComesMeanwhileAlone) {
  for (const bool showPreview : {true, false}) {
    ToolFixture tool{{.showPreview = showPreview, .cameras = {}}};
    tool.launchByClickOn(kPhotoPath);
    tool.loop.advance(50ms);
    tool.plug("Desk camera");
    tool.loop.advance(10s);
    EXPECT_EQ(tool.takersMade(), 0U);
    EXPECT_THAT(tool.journal.of("event"),
                ElementsAre(usageEvent("Launch", showPreview, "{\"ClickOnNotification\":true}"),
                            usageEvent("Quit", showPreview)));
  }
}

TEST(ClickLaunch, HasATimerAndNoMenuIconCallback) {
  ToolFixture tool;
  tool.launchByClickOn(kPhotoPath);
  EXPECT_TRUE(tool.hasActiveTimer());
  tool.clickMenuIcon();
  EXPECT_THAT(tool.journal.of("event"),
              ElementsAre(usageEvent("Launch", true, "{\"ClickOnNotification\":true}")));
}

TEST(ClickLaunch, ComesBeforeTheQuestionForOtherInstances) {
  ToolFixture tool{{.instances = 2}};
  tool.launchByClickOn(kPhotoPath);
  EXPECT_FALSE(tool.application.ended);
  EXPECT_THAT(tool.journal.of("event"),
              ElementsAre(usageEvent("Launch", true, "{\"ClickOnNotification\":true}")));
}

TEST(SecondInstance, ReportsAndQuitsAtOnce) {
  for (const int instances : {2, 3}) {
    ToolFixture tool{{.instances = instances}};
    tool.launch();
    EXPECT_TRUE(tool.application.ended);
    EXPECT_TRUE(tool.journal.inOrder({usageEvent("Launch", true, "{\"AnotherInstanceRunning\":true}"),
                                      "application terminate", usageEvent("Quit", true)}));
  }
}

TEST(SecondInstance, StartsNothingElse) {
  ToolFixture tool{{.instances = 2}};
  tool.launchForPreferences();
  tool.loop.advance(10s);
  EXPECT_EQ(tool.takersMade(), 0U);
  EXPECT_THAT(tool.journal.of("cameras listed"), IsEmpty());
  EXPECT_THAT(tool.journal.of("load"), IsEmpty());
  EXPECT_FALSE(tool.controller().running());
  EXPECT_EQ(tool.controller().provider()->toolStatus(), 0);
}

TEST(NormalRun, IsWhatOneOrNoCountedInstanceMeans) {
  for (const int instances : {0, 1}) {
    ToolFixture tool{{.instances = instances}};
    tool.launch();
    EXPECT_FALSE(tool.application.ended);
    EXPECT_TRUE(tool.controller().running());
    EXPECT_EQ(tool.controller().provider()->toolStatus(), 1);
  }
}

TEST(NormalRun, ActivatesOnceMoreATenthOfASecondAfterTheStart) {
  for (const bool showPreview : {true, false}) {
    ToolFixture tool{{.showPreview = showPreview}};
    tool.launch();
    tool.journal.clear();
    tool.loop.advance(99ms);
    EXPECT_THAT(tool.journal.of("application activate"), IsEmpty());
    tool.loop.advance(1ms);
    EXPECT_THAT(tool.journal.of("application activate"),
                ElementsAre("application activateIgnoringOtherApps YES"));
  }
}

TEST(PreferencesRun, ReportsBecomesRegularShowsTheWindowAndActivates) {
  ToolFixture tool;
  tool.launchForPreferences();
  EXPECT_TRUE(tool.journal.inOrder({usageEvent("Launch", true, "{\"Preferences\":true}"),
                                    "application setActivationPolicy 0", "load PreferencesWindowController",
                                    "PreferencesWindowController show",
                                    "application activateIgnoringOtherApps YES"}));
  EXPECT_FALSE(tool.isVisible(kPreviewWindow));
}

TEST(PreferencesRun, TakesNoPhotoWhicheverTheSetting) {
  for (const bool showPreview : {true, false}) {
    ToolFixture tool{{.showPreview = showPreview}};
    tool.launchForPreferences();
    tool.loop.advance(10s);
    EXPECT_EQ(tool.controller().count(), 0);
    EXPECT_EQ(tool.takersMade(), 0U);
    EXPECT_FALSE(tool.application.ended);
  }
}

TEST(PreferencesRun, PollsOnOnceTheWindowIsGoneAndStillTakesNoPhoto) {
  ToolFixture tool{{.showPreview = false}};
  tool.launchForPreferences();
  tool.preferencesLayout().window->orderOut();
  tool.loop.advance(5s);
  EXPECT_TRUE(tool.hasActiveTimer());
  EXPECT_EQ(tool.takersMade(), 1U);
  EXPECT_EQ(tool.controller().count(), 0);
}

TEST(PreferencesRun, EndsWhenItsLastWindowCloses) {
  ToolFixture tool;
  tool.launchForPreferences();
  tool.closeWindow(kPreferencesWindow);
  EXPECT_TRUE(tool.application.ended);
}

TEST(PreferencesRequest, BeforeTheStartOnlyNotesIt) {
  ToolFixture tool;
  tool.delegate.applicationWillFinishLaunching();
  tool.openPreferences();
  EXPECT_TRUE(tool.controller().runWithPreferences());
  EXPECT_FALSE(tool.isVisible(kPreferencesWindow));
}

TEST(PreferencesRequest, AfterTheStartOnlyShowsThem) {
  ToolFixture tool;
  tool.launch();
  tool.openPreferences();
  EXPECT_FALSE(tool.controller().runWithPreferences());
  EXPECT_TRUE(tool.isVisible(kPreferencesWindow));
  EXPECT_TRUE(tool.isVisible(kPreviewWindow));
  EXPECT_EQ(tool.journal.of("event").size(), 1U);
}

TEST(PreviewRun, ReportsBecomesRegularShowsTheWindowAndActivates) {
  ToolFixture tool;
  tool.launch();
  EXPECT_TRUE(tool.journal.inOrder({usageEvent("Launch", true), "application setActivationPolicy 0",
                                    "load PreviewWindowController", "PreviewWindowController show",
                                    "application activateIgnoringOtherApps YES", "input id of Desk camera",
                                    "session startRunning"}));
}

TEST(PreviewRun, PollsEverySecondAndTakesNoPhotoByItself) {
  ToolFixture tool;
  tool.launch();
  tool.loop.advance(10s);
  EXPECT_TRUE(tool.hasActiveTimer());
  EXPECT_EQ(tool.journal.of("event").size(), 1U);
}

TEST(PreviewRun, StaysWithoutACamera) {
  ToolFixture tool{{.cameras = {}}};
  tool.launch();
  tool.loop.advance(10s);
  EXPECT_TRUE(tool.isVisible(kPreviewWindow));
  EXPECT_FALSE(tool.application.ended);
  EXPECT_THAT(tool.journal.of("notify"), IsEmpty());
}

TEST(SilentRun, StaysInvisibleAndDoesNotActivateAtOnce) {
  ToolFixture tool{{.showPreview = false}};
  tool.launch();
  EXPECT_THAT(tool.journal.of("application setActivationPolicy"),
              ElementsAre("application setActivationPolicy 2"));
  EXPECT_THAT(tool.journal.of("application activate"), IsEmpty());
}

TEST(Reopen, ShowsThePreviewOnlyWhenNoWindowIsVisible) {
  ToolFixture tool;
  tool.launch();
  tool.journal.clear();
  tool.controller().reopen();
  EXPECT_THAT(tool.journal.lines(), IsEmpty());
  tool.previewLayout().window->orderOut();
  tool.journal.clear();
  tool.controller().reopen();
  EXPECT_TRUE(tool.journal.has("PreviewWindowController show"));
  EXPECT_EQ(tool.controller().count(), 0);
}

TEST(Reopen, LeavesVisiblePreferencesAloneInAPreviewRun) {
  ToolFixture tool;
  tool.launchForPreferences();
  tool.journal.clear();
  tool.controller().reopen();
  EXPECT_THAT(tool.journal.lines(), IsEmpty());
}

TEST(Reopen, BringsOpenPreferencesToTheFrontInASilentRun) {
  ToolFixture tool{{.showPreview = false}};
  tool.launchForPreferences();
  tool.journal.clear();
  tool.controller().reopen();
  EXPECT_THAT(tool.journal.lines(), ElementsAre("application activateIgnoringOtherApps YES"));
}

TEST(Reopen, TakesAFurtherPhotoInASilentRun) {
  ToolFixture tool{{.showPreview = false}};
  tool.launch();
  tool.journal.clear();
  tool.controller().reopen();
  EXPECT_EQ(tool.controller().count(), 1);
  EXPECT_EQ(tool.avFoundation.output().pending(), 1);
}

TEST(Quit, ComesOneSecondAfterThePreviewWasClosed) {
  ToolFixture tool;
  tool.launch();
  tool.pressClose();
  tool.loop.advance(999ms);
  EXPECT_FALSE(tool.application.ended);
  tool.loop.advance(1ms);
  EXPECT_TRUE(tool.application.ended);
}

TEST(Quit, IsNotCalledOffByAWindowShownMeanwhile) {
  ToolFixture tool;
  tool.launch();
  tool.pressClose();
  tool.loop.advance(500ms);
  tool.controller().reopen();
  ASSERT_TRUE(tool.isVisible(kPreviewWindow));
  tool.loop.advance(500ms);
  EXPECT_TRUE(tool.application.ended);
}

TEST(Quit, DoesNotComeWhileAWindowIsVisible) {
  ToolFixture tool;
  tool.launch();
  tool.controller().onQuit();
  tool.openPreferences();
  tool.pressClose();
  tool.loop.advance(10s);
  EXPECT_FALSE(tool.application.ended);
}

TEST(Quit, DoesNotComeWhileAShotIsPending) {
  ToolFixture tool;
  tool.launch();
  tool.pressShoot();
  tool.pressClose();
  tool.loop.advance(10s);
  EXPECT_FALSE(tool.application.ended);
}

/// The end of the controller with callbacks of it still about.
TEST(Controller, LeavesNothingBehindThatCallsIt) {
  fakes::FakePlatform desktop;
  {
    AppDelegate delegate(desktop.platform, desktop.suite);
    delegate.applicationDidFinishLaunching({});
  }
  desktop.journal.clear();
  desktop.center.postNotificationName(platform::AVCaptureDeviceWasConnectedNotification);
  desktop.suite.common.toolDataClientProvider()->clickMenuIcon();
  desktop.loop.advance(10s);
  EXPECT_THAT(desktop.journal.of("event"), IsEmpty());
  EXPECT_THAT(desktop.journal.of("cameras listed"), IsEmpty());
  EXPECT_EQ(desktop.loop.activeTimers(), 0);
}

}  // namespace
}  // namespace camera_shot
