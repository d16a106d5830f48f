#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/unit/WindowFixtures.h"

namespace camera_shot {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

const std::string kSound =
    "sound "
    "/System/Library/Components/CoreAudio.component/Contents/SharedSupport/SystemSounds/system/Grab.aif "
    "by reference";
const std::string kNotAllowed = "The tool is not allowed to access the camera.";
const std::string kHowToAllow =
    "Please open the macOS System Preferences > Security & Privacy > Privacy and allow \"Verrano Quillo\" to "
    "access the camera.";

TEST(PreviewWindow, IsSetUpInOrderWhenLoaded) {
  PreviewFixture desk;
  desk.layout();
  EXPECT_THAT(desk.journal.lines(),
              ElementsAre("load PreviewWindowController", "PreviewWindowController setDelegate",
                          "preferencesButton hidden NO", "closeButton hidden NO",
                          "PreviewWindowController styleMask 15",
                          "PreviewWindowController frameAutosaveName PreviewWindowController",
                          "button image TakePhoto", "button alternateImage TakePhoto", "button enabled NO",
                          "onStopPreview", "captureView setLayer none", "onStopPreview"));
}

TEST(PreviewWindow, KeepsEveryOtherStyleBit) {
  PreviewFixture desk;
  EXPECT_EQ(desk.layout().window->mask, 7U | 8U);
}

TEST(PreviewWindow, ReportsItsVisibilityAtEveryCheck) {
  PreviewFixture desk;
  desk.layout();
  desk.journal.clear();
  desk.preview().showWindow();
  desk.layout().window->tellOcclusion();
  desk.layout().window->orderOut();
  desk.preview().windowDidChangeOcclusionState();
  EXPECT_THAT(desk.journal.of("on"),
              ElementsAre("onStartPreview", "onStartPreview", "onStopPreview", "onStopPreview"));
}

TEST(PreviewWindow, StartsThePictureOnlyOnceItIsOnTheScreen) {
  PreviewFixture desk;
  desk.preview().showWindow();
  EXPECT_THAT(desk.journal.of("on"), ElementsAre("onStopPreview", "onStopPreview", "onStartPreview"));
}

TEST(LiveLayer, GivenBeforeTheWindowIsLoadedIsInstalledAtLoad) {
  PreviewFixture desk;
  const auto layer = desk.layer();
  desk.preview().updateLayer(layer);
  EXPECT_EQ(desk.preview().layer(), layer);
  EXPECT_THAT(desk.journal.of("on"), IsEmpty());
  EXPECT_THAT(desk.journal.of("captureView"), IsEmpty());
  EXPECT_EQ(desk.layout().view("captureView").currentLayer, layer);
}

TEST(LiveLayer, IsMirroredThenInstalledThenTheVisibilityIsChecked) {
  PreviewFixture desk;
  desk.layout();
  desk.journal.clear();
  desk.preview().updateLayer(desk.layer());
  EXPECT_THAT(desk.journal.lines(),
              ElementsAre("preview connection automaticMirroring NO", "preview connection mirrored YES",
                          "captureView setLayer", "onStopPreview"));
}

TEST(LiveLayer, WhoseConnectionCannotMirrorStaysAsItIs) {
  PreviewFixture desk;
  const auto layer = desk.layer();
  layer->previewConnection->mirroringSupported = false;
  desk.preview().updateLayer(layer);
  layer->previewConnection = nullptr;
  desk.preview().updateLayer(layer);
  EXPECT_THAT(desk.journal.of("preview connection"), IsEmpty());
}

TEST(LiveLayer, OfNoneClearsTheViewAndStillChecksTheVisibility) {
  PreviewFixture desk;
  desk.layout();
  desk.preview().updateLayer(desk.layer());
  desk.journal.clear();
  desk.preview().updateLayer(nullptr);
  EXPECT_THAT(desk.journal.lines(), ElementsAre("captureView setLayer none", "onStopPreview"));
  EXPECT_EQ(desk.layout().view("captureView").currentLayer, nullptr);
}

TEST(WarningPanel, WithoutACameraSaysSoWhateverTheAccess) {
  for (const bool available : {true, false}) {
    PreviewFixture desk;
    desk.layout();
    desk.journal.clear();
    desk.preview().changeCameraAvailable(available, nullptr);
    EXPECT_THAT(desk.journal.lines(),
                ElementsAre("warningView wantsLayer YES", "warningView hidden NO",
                            "warningView layer background black", "warningImage image CameraOff",
                            "warningText text No camera found", "warningDescription hidden YES"));
  }
}

TEST(WarningPanel, WithoutAccessSaysHowToAllowIt) {
  PreviewFixture desk;
  desk.layout();
  desk.journal.clear();
  desk.preview().changeCameraAvailable(false, desk.camera);
  EXPECT_THAT(
      desk.journal.lines(),
      ElementsAre("warningView wantsLayer YES", "warningView hidden NO", "warningView layer background black",
                  "warningImage image CameraOff", "warningText text " + kNotAllowed,
                  "warningDescription hidden NO", "warningDescription text " + kHowToAllow));
}

TEST(WarningPanel, WithAUsableCameraIsHidden) {
  PreviewFixture desk;
  desk.layout();
  desk.journal.clear();
  desk.preview().changeCameraAvailable(true, desk.camera);
  EXPECT_THAT(desk.journal.lines(), ElementsAre("warningView wantsLayer YES", "warningView hidden NO",
                                                "warningView layer background black",
                                                "warningImage image CameraOff", "warningView hidden YES"));
  EXPECT_TRUE(desk.preview().cameraAvailable());
  EXPECT_EQ(desk.preview().cameraSource(), desk.camera);
}

TEST(WarningPanel, KeepsItsTextsWhileHiddenAndRewritesThemWithoutACamera) {
  PreviewFixture desk;
  auto& layout = desk.layout();
  desk.preview().changeCameraAvailable(false, desk.camera);
  desk.preview().changeCameraAvailable(true, desk.camera);
  EXPECT_TRUE(layout.view("warningView").hidden);
  EXPECT_EQ(layout.view("warningText").text, kNotAllowed);
  EXPECT_EQ(layout.view("warningDescription").text, kHowToAllow);
  desk.preview().changeCameraAvailable(true, nullptr);
  EXPECT_FALSE(layout.view("warningView").hidden);
  EXPECT_EQ(layout.view("warningText").text, "No camera found");
  EXPECT_TRUE(layout.view("warningDescription").hidden);
}

TEST(WarningPanel, IsTranslated) {
  PreviewFixture desk;
  desk.bundle.translations = {{"No camera found", "1"}, {kNotAllowed, "2"}, {kHowToAllow, "3"}};
  auto& layout = desk.layout();
  desk.preview().changeCameraAvailable(true, nullptr);
  EXPECT_EQ(layout.view("warningText").text, "1");
  desk.preview().changeCameraAvailable(false, desk.camera);
  EXPECT_EQ(layout.view("warningText").text, "2");
  EXPECT_EQ(layout.view("warningDescription").text, "3");
}

TEST(ButtonLook, FollowsTheCaptureAndNotThePanel) {
  PreviewFixture desk;
  auto& button = desk.layout().view("button");
  desk.journal.clear();
  desk.preview().setCameraStatus(true);
  EXPECT_THAT(
      desk.journal.lines(),
      ElementsAre("button image TakePhoto", "button alternateImage TakePhotoPressed", "button enabled YES"));
  desk.preview().changeCameraAvailable(false, nullptr);
  EXPECT_TRUE(button.enabled);
  desk.journal.clear();
  desk.preview().setCameraStatus(false);
  EXPECT_THAT(desk.journal.lines(),
              ElementsAre("button image TakePhoto", "button alternateImage TakePhoto", "button enabled NO"));
}

TEST(ButtonLook, IsDisabledAtFirst) {
  PreviewFixture desk;
  EXPECT_EQ(desk.preview().buttonState(), 1);
}

TEST(ButtonLook, SetBeforeTheWindowIsLoadedIsAppliedAtLoad) {
  PreviewFixture desk;
  desk.preview().setCameraStatus(true);
  EXPECT_EQ(desk.preview().buttonState(), 0);
  EXPECT_TRUE(desk.layout().view("button").enabled);
  EXPECT_EQ(desk.layout().view("button").alternateImage, "TakePhotoPressed");
}

TEST(ButtonLook, OfAnyOtherValueIsStoredAndChangesNothing) {
  PreviewFixture desk;
  desk.layout();
  desk.journal.clear();
  for (const std::int32_t look : {2, -1, INT32_MAX}) {
    desk.preview().setButtonLook(look);
    EXPECT_EQ(desk.preview().buttonState(), look);
  }
  EXPECT_THAT(desk.journal.lines(), IsEmpty());
}

TEST(ButtonLook, OfAnyOtherValueChangesNothingAtLoadEither) {
  PreviewFixture desk;
  desk.preview().setButtonLook(2);
  desk.layout();
  EXPECT_THAT(desk.journal.of("button"), IsEmpty());
  EXPECT_EQ(desk.preview().buttonState(), 2);
}

TEST(ShootButton, WhileDisabledDoesNothingAtAll) {
  PreviewFixture desk;
  desk.layout();
  desk.journal.clear();
  desk.layout().press("shootButtonPressed");
  EXPECT_THAT(desk.journal.lines(), IsEmpty());
}

TEST(ShootButton, ThatDoesNotExistDoesNothingAtAll) {
  PreviewFixture desk;
  desk.preview().shootButtonPressed();
  EXPECT_THAT(desk.journal.lines(), IsEmpty());
}

TEST(ShootButton, AsksForThePhotoThenPlaysTheSoundAnewOnEveryPress) {
  PreviewFixture desk;
  desk.layout();
  desk.preview().setCameraStatus(true);
  desk.journal.clear();
  desk.layout().press("shootButtonPressed");
  desk.layout().press("shootButtonPressed");
  EXPECT_THAT(desk.journal.lines(),
              ElementsAre("onTake", kSound, "sound play", "onTake", kSound, "sound play"));
  EXPECT_TRUE(desk.layout().view("button").enabled);
}

TEST(ShootButton, WithoutASoundStillAsksForThePhoto) {
  PreviewFixture desk;
  desk.appKit.hasSound = false;
  desk.layout();
  desk.preview().setCameraStatus(true);
  desk.journal.clear();
  desk.layout().press("shootButtonPressed");
  EXPECT_THAT(desk.journal.lines(), ElementsAre("onTake", kSound));
}

TEST(CloseButton, HidesTheWindowThenReports) {
  PreviewFixture desk;
  desk.preview().showWindow();
  desk.journal.clear();
  desk.layout().press("closeButtonPressed");
  EXPECT_THAT(desk.journal.lines(),
              ElementsAre("PreviewWindowController orderOut", "onStopPreview", "onQuit"));
  desk.preview().showWindow();
  EXPECT_EQ(desk.journal.lines().back(), "onStartPreview");
  EXPECT_EQ(desk.journal.of("load").size(), 0U);
}

TEST(PreviewWindow, BearsALayoutWithoutItsViews) {
  PreviewFixture desk;
  desk.appKit.missingOutlets = {"captureView",        "warningView", "warningImage",      "warningText",
                                "warningDescription", "button",      "preferencesButton", "closeButton"};
  desk.layout();
  desk.preview().updateLayer(desk.layer());
  desk.preview().changeCameraAvailable(false, desk.camera);
  desk.preview().changeCameraAvailable(true, nullptr);
  desk.preview().setCameraStatus(true);
  desk.layout().press("shootButtonPressed");
  EXPECT_EQ(desk.preview().buttonState(), 0);
  EXPECT_THAT(desk.journal.of("onTake"), IsEmpty());
}

TEST(PreviewWindow, BearsMissingPictures) {
  PreviewFixture desk;
  desk.appKit.missingImages = {"TakePhoto", "TakePhotoPressed", "CameraOff"};
  desk.layout();
  desk.preview().setCameraStatus(true);
  desk.preview().changeCameraAvailable(true, nullptr);
  EXPECT_EQ(desk.layout().view("button").image, "none");
  EXPECT_TRUE(desk.layout().view("button").enabled);
  EXPECT_EQ(desk.layout().view("warningImage").image, "none");
}

TEST(PreviewWindow, BearsADesktopWithoutADisplay) {
  PreviewFixture desk;
  desk.appKit.hasDisplay = false;
  desk.preview().showWindow();
  desk.preview().closeButtonPressed();
  EXPECT_THAT(desk.journal.lines(), ElementsAre("load PreviewWindowController", "onQuit"));
}

}  // namespace
}  // namespace camera_shot
