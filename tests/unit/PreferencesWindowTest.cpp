#include <cerrno>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/unit/WindowFixtures.h"

namespace camera_shot {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

const std::string kCancelled =
    "event \"event\":\"OutputLocation\",\"prefs\":null,\"details\":{\"Changed\":false}}";

TEST(PreferencesWindow, IsNotLoadedByItsCreation) {
  PreferencesFixture desk{{"First"}};
  desk.preferences();
  EXPECT_THAT(desk.journal.lines(),
              ElementsAre("center addObserver AVCaptureDeviceWasConnectedNotification",
                          "center addObserver AVCaptureDeviceWasDisconnectedNotification"));
  EXPECT_THAT(desk.preferences().videoDevices(), IsEmpty());
}

TEST(PreferencesWindow, FillsItsControlsInOrderWhenLoaded) {
  PreferencesFixture desk{{"First"}};
  desk.preferences();
  desk.journal.clear();
  desk.layout();
  EXPECT_THAT(
      desk.journal.lines(),
      ElementsAre("load PreferencesWindowController", "previewSetting state 1",
                  "PreferencesWindowController setDelegate", "videoSource removeAllItems", "cameras listed",
                  "videoSource addItem First", "videoSource select 0", "videoSource enabled YES",
                  "outputLocation title ~/Pictures", "outputLocationWarning hidden YES"));
}

TEST(PreferencesWindow, ShowsASwitchThatIsOff) {
  PreferencesFixture desk;
  desk.defaults.values["ShowPreview"] = "false";
  EXPECT_EQ(desk.layout().view("previewSetting").currentState, 0);
  EXPECT_TRUE(desk.journal.has("previewSetting state 0"));
}

TEST(PreferencesWindow, HidesTheHeadersButtons) {
  PreferencesFixture desk;
  EXPECT_TRUE(desk.preferences().hidesPreferencesButton());
  EXPECT_TRUE(desk.preferences().hidesCloseButton());
}

TEST(PreferencesWindow, IsOpenedWhileItIsOnTheScreen) {
  PreferencesFixture desk;
  EXPECT_FALSE(desk.preferences().isOpened());
  desk.preferences().showWindow();
  EXPECT_TRUE(desk.preferences().isOpened());
  EXPECT_TRUE(desk.preferences().isPreferencesDialogOpened());
  desk.layout().window->orderOut();
  EXPECT_FALSE(desk.preferences().isOpened());
  EXPECT_FALSE(desk.preferences().isPreferencesDialogOpened());
}

TEST(CameraPopup, SelectsTheStoredCamera) {
  PreferencesFixture desk{{"First", "Second", "Third"}};
  desk.defaults.values["VideoSourceID"] = "id of Second";
  EXPECT_THAT(desk.popup().items, ElementsAre("First", "Second", "Third"));
  EXPECT_EQ(desk.popup().selected, 1);
}

TEST(CameraPopup, SelectsTheFirstWhereTheStoredOneIsAbsentAndChangesNothingStored) {
  PreferencesFixture desk{{"First", "Second"}};
  desk.defaults.values["VideoSourceID"] = "id of Third";
  EXPECT_EQ(desk.popup().selected, 0);
  EXPECT_EQ(desk.preferences().videoSourceID(), "id of Third");
  EXPECT_THAT(desk.journal.of("defaults"), IsEmpty());
}

TEST(CameraPopup, SelectsTheLaterOfTwoEqualIdentities) {
  PreferencesFixture desk;
  desk.addCamera("Left", "same");
  desk.addCamera("Right", "same");
  desk.defaults.values["VideoSourceID"] = "same";
  EXPECT_EQ(desk.popup().selected, 1);
}

TEST(CameraPopup, WithoutCamerasShowsOneDisabledItemAndSelectsNothing) {
  PreferencesFixture desk;
  EXPECT_THAT(desk.popup().items, ElementsAre("No camera"));
  EXPECT_FALSE(desk.popup().enabled);
  EXPECT_THAT(desk.journal.of("videoSource select"), IsEmpty());
}

TEST(CameraPopup, TranslatesTheItemForNoCamera) {
  PreferencesFixture desk;
  desk.bundle.translations["No camera"] = "Keine Kamera";
  EXPECT_THAT(desk.popup().items, ElementsAre("Keine Kamera"));
}

TEST(CameraPopup, FollowsCamerasThatComeAndGo) {
  PreferencesFixture desk{{"First"}};
  desk.defaults.values["VideoSourceID"] = "id of Second";
  desk.layout();
  desk.addCamera("Second", "id of Second");
  desk.center.postNotificationName(platform::AVCaptureDeviceWasConnectedNotification);
  EXPECT_THAT(desk.popup().items, ElementsAre("First", "Second"));
  EXPECT_EQ(desk.popup().selected, 1);

  desk.avFoundation.devices.pop_back();
  desk.center.postNotificationName(platform::AVCaptureDeviceWasDisconnectedNotification);
  EXPECT_THAT(desk.popup().items, ElementsAre("First"));
  EXPECT_EQ(desk.popup().selected, 0);

  desk.avFoundation.devices.clear();
  desk.center.postNotificationName(platform::AVCaptureDeviceWasDisconnectedNotification);
  EXPECT_THAT(desk.popup().items, ElementsAre("No camera"));
  EXPECT_FALSE(desk.popup().enabled);
}

TEST(CameraPopup, BeforeTheWindowIsLoadedOnlyTheListIsRefreshed) {
  PreferencesFixture desk{{"First"}};
  desk.preferences();
  desk.journal.clear();
  desk.center.postNotificationName(platform::AVCaptureDeviceWasConnectedNotification);
  EXPECT_THAT(desk.preferences().videoDevices(), ElementsAre(suite::CaptureDevice{"First", "id of First"}));
  EXPECT_THAT(desk.journal.lines(), ElementsAre("cameras listed"));
}

TEST(PreferencesWindow, DoesNotApplyAChoiceWhileItIsOnTheScreen) {
  PreferencesFixture desk{{"First", "Second"}};
  desk.preferences().showWindow();
  desk.popup().selected = 1;
  desk.layout().press("onVideoSelect");
  desk.switchPreview(0);
  desk.switchPreview(1);
  desk.layout().window->tellOcclusion();
  EXPECT_FALSE(desk.journal.has("onPrefChanged"));
}

TEST(PreferencesWindow, AppliesTheSettingsAtEachCheckThatFindsItOffTheScreen) {
  PreferencesFixture desk;
  desk.preferences().showWindow();
  desk.layout().window->orderOut();
  EXPECT_EQ(desk.journal.count("onPrefChanged"), 1);
  desk.layout().window->tellOcclusion();
  EXPECT_EQ(desk.journal.count("onPrefChanged"), 2);
}

TEST(PreferencesWindow, AppliesNothingWithThePreviewSwitchedOff) {
  PreferencesFixture desk;
  desk.preferences().showWindow();
  desk.switchPreview(0);
  desk.layout().window->orderOut();
  EXPECT_FALSE(desk.journal.has("onPrefChanged"));
}

TEST(PreferencesWindow, ShowsTheFolderOfNowWheneverTheUserReturns) {
  PreferencesFixture desk;
  desk.preferences().showWindow();
  desk.suite.locationManager.setLocationForCurrentTool("/mnt/photos");
  desk.layout().window->tellKey();
  EXPECT_EQ(desk.layout().view("outputLocation").title, "/mnt/photos");
}

/// The popup shows the first camera while the chosen one is away: choosing that one is a choice too.
TEST(CameraPopup, TheCameraThatItShowsAlreadyCanBeChosen) {
  PreferencesFixture desk{{"First", "Second"}};
  desk.defaults.values["VideoSourceID"] = "id of Third";
  desk.layout().press("onVideoSelect");
  EXPECT_EQ(desk.preferences().videoSourceID(), "id of First");
  EXPECT_TRUE(desk.journal.inOrder({"defaults setObject VideoSourceID id of First", "defaults synchronize"}));
}

TEST(CameraPopup, WithNothingSelectedChoosesNothing) {
  PreferencesFixture desk;
  desk.defaults.values["VideoSourceID"] = "id of First";
  desk.layout().press("onVideoSelect");
  EXPECT_EQ(desk.preferences().videoSourceID(), "id of First");
  EXPECT_THAT(desk.journal.of("defaults"), IsEmpty());
}

/// A Linux desktop has more ways out of a window than its buttons: with the preview off all of them are
/// Done's, or the next look for cameras would take a photo.
TEST(ClosingThePreferences, WithThePreviewOffQuitsAsDoneDoes) {
  ToolFixture tool;
  tool.launch();
  tool.openPreferences();
  tool.switchPreview(false);
  tool.closeWindow(kPreferencesWindow);
  EXPECT_TRUE(tool.application.ended);
  EXPECT_FALSE(tool.journal.has(usageEvent("Start", false)));
}

TEST(ClosingThePreferences, WithThePreviewOnLeavesThePreviewAlone) {
  ToolFixture tool;
  tool.launch();
  tool.openPreferences();
  tool.closeWindow(kPreferencesWindow);
  tool.loop.advance(10s);
  EXPECT_FALSE(tool.isVisible(kPreferencesWindow));
  EXPECT_TRUE(tool.isVisible(kPreviewWindow));
  EXPECT_FALSE(tool.application.ended);
}

TEST(MinimisedPreferences, AreStillOpenAndKeepTheCameraQuiet) {
  ToolFixture tool;
  tool.launch();
  tool.openPreferences();
  tool.switchPreview(false);
  tool.minimise(kPreferencesWindow);
  tool.loop.advance(10s);
  EXPECT_TRUE(tool.controller().preferences()->isOpened());
  EXPECT_FALSE(tool.journal.has(usageEvent("Start", false)));
}

TEST(MinimisedPreferences, ComeToTheFrontInPlaceOfAPhoto) {
  for (void (ToolFixture::*const start)() : {&ToolFixture::startAgain, &ToolFixture::clickMenuIcon}) {
    ToolFixture tool{{.showPreview = false}};
    tool.launchForPreferences();
    tool.minimise(kPreferencesWindow);
    (tool.*start)();
    EXPECT_TRUE(tool.isVisible(kPreferencesWindow));
    EXPECT_EQ(tool.controller().count(), 0);
  }
}

TEST(MinimisedPreferences, AreTheWindowThatAStartInAPreviewRunAsksFor) {
  ToolFixture tool;
  tool.launchForPreferences();
  tool.minimise(kPreferencesWindow);
  tool.startAgain();
  EXPECT_TRUE(tool.isVisible(kPreferencesWindow));
  EXPECT_FALSE(tool.isVisible(kPreviewWindow));
}

TEST(DoneButton, WithThePreviewOnShowsThePreviewInPlaceOfThePreferences) {
  ToolFixture tool;
  tool.launchForPreferences();
  tool.pressDone();
  EXPECT_TRUE(tool.journal.inOrder({"PreviewWindowController show", "PreferencesWindowController orderOut"}));
  tool.loop.advance(10s);
  EXPECT_TRUE(tool.isVisible(kPreviewWindow));
  EXPECT_FALSE(tool.isVisible(kPreferencesWindow));
  EXPECT_FALSE(tool.application.ended);
  EXPECT_TRUE(tool.avFoundation.sessions.back()->running);
}

TEST(DoneButton, WithThePreviewOffQuitsAtOnce) {
  ToolFixture tool;
  tool.launchForPreferences();
  tool.switchPreview(false);
  tool.pressDone();
  EXPECT_TRUE(tool.application.ended);
}

TEST(DoneButton, GoesByTheSwitchAsItIsNotByTheSetting) {
  PreferencesFixture desk;
  for (const int state : {0, 2, -1}) {
    desk.application.ended = false;
    desk.layout().view("previewSetting").currentState = state;
    desk.layout().press("onDoneClicked");
    EXPECT_TRUE(desk.application.ended) << state;
  }
  EXPECT_TRUE(desk.preferences().showPreview());
}

TEST(OutputLocation, CancelledIsReportedWithoutSettings) {
  PreferencesFixture desk;
  desk.layout().press("onOutputLocationChanged");
  EXPECT_THAT(desk.journal.of("event"), IsEmpty());
  desk.panel.pending(std::nullopt);
  EXPECT_THAT(desk.journal.of("event"), ElementsAre(kCancelled));
  EXPECT_THAT(desk.journal.of("log"), IsEmpty());
}

TEST(OutputLocation, ChangedIsReportedWithTheControlsDetails) {
  PreferencesFixture desk;
  desk.layout().press("onOutputLocationChanged");
  desk.panel.pending("/home/ada/Shots");
  desk.files.answerAll();
  EXPECT_THAT(desk.journal.of("event"),
              ElementsAre("event \"event\":\"OutputLocation\",\"prefs\":null,\"details\":{\"Changed\":true,"
                          "\"Folder\":\"~/Shots\"}}"));
  EXPECT_EQ(desk.layout().view("outputLocation").title, "~/Shots");
}

TEST(OutputLocation, RefusedIsLoggedAndThenReported) {
  PreferencesFixture desk;
  desk.files.notWritable["/root"] = EACCES;
  desk.layout().press("onOutputLocationChanged");
  desk.journal.clear();
  desk.files.answerAll();
  desk.journal.clear();
  desk.panel.pending("/root");
  EXPECT_THAT(desk.journal.lines(), IsEmpty()) << "as long as its file system has not answered";
  desk.files.answerAll();
  EXPECT_THAT(desk.journal.lines(),
              ElementsAre("panel message Photos cannot be saved in this folder.\n/root",
                          "log Photos cannot be saved in this folder. /root",
                          "event \"event\":\"OutputLocation\",\"prefs\":null,\"details\":{\"Changed\":false,"
                          "\"Folder\":\"/root\"}}"));
}

TEST(PreferencesWindow, BearsALayoutWithoutItsControls) {
  PreferencesFixture desk{{"First"}};
  desk.appKit.missingOutlets = {"outputLocation", "outputLocationWarning", "previewSetting", "videoSource"};
  desk.layout();
  for (const std::string action : {"onVideoSelect", "onPreviewChanged", "onOutputLocationChanged"})
    desk.layout().press(action);
  desk.preferences().updateOutputLocationText();
  EXPECT_THAT(desk.journal.of("defaults"), IsEmpty());
  EXPECT_THAT(desk.journal.of("event"), IsEmpty());
}

}  // namespace
}  // namespace camera_shot
