#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/unit/ToolFixture.h"

namespace camera_shot {
namespace {

using platform::AVAuthorizationStatus;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(CameraFollowing, BuildsATakerThenTellsThePreviewThenHandsItTheLayer) {
  ToolFixture tool;
  tool.launch();
  EXPECT_TRUE(tool.journal.inOrder({"warningView hidden YES", "input id of Desk camera", "button enabled YES",
                                    "preview connection mirrored YES", "captureView setLayer",
                                    "session startRunning"}));
  EXPECT_EQ(tool.controller().preview()->layer(), tool.controller().photoTaker()->getLayer());
  EXPECT_EQ(tool.controller().currentCamera()->uniqueID(), "id of Desk camera");
}

TEST(CameraFollowing, KeepsTheTakerWhileTheCameraStaysTheSame) {
  ToolFixture tool;
  tool.launch();
  const auto taker = tool.controller().photoTaker();
  tool.loop.advance(10s);
  tool.plug("Second camera");
  tool.unplug("Second camera");
  EXPECT_EQ(tool.takersMade(), 1U);
  EXPECT_EQ(tool.controller().photoTaker(), taker);
}

TEST(CameraFollowing, ComparesCamerasByTheirIdentityNotByTheirObject) {
  ToolFixture tool;
  tool.launch();
  tool.avFoundation.devices = {std::make_shared<fakes::FakeDevice>("id of Desk camera", "Renamed")};
  tool.loop.advance(1s);
  EXPECT_EQ(tool.takersMade(), 1U);
}

TEST(CameraFollowing, NoticesAChangeThatNobodyAnnouncedWithinASecond) {
  ToolFixture tool;
  tool.launch();
  tool.avFoundation.devices = {std::make_shared<fakes::FakeDevice>("other", "Other")};
  tool.loop.advance(999ms);
  EXPECT_EQ(tool.takersMade(), 1U);
  tool.loop.advance(1ms);
  EXPECT_EQ(tool.takersMade(), 2U);
  EXPECT_EQ(tool.controller().currentCamera()->uniqueID(), "other");
}

TEST(CameraFollowing, TellsThePreviewThatItsCameraIsGoneAndKeepsTheOldTaker) {
  ToolFixture tool;
  tool.launch();
  const auto taker = tool.controller().photoTaker();
  tool.journal.clear();
  tool.unplug("Desk camera");
  EXPECT_TRUE(tool.journal.inOrder({"warningText text No camera found", "button enabled NO"}));
  EXPECT_EQ(tool.controller().preview()->cameraSource(), nullptr);
  EXPECT_EQ(tool.controller().currentCamera(), nullptr);
  EXPECT_EQ(tool.controller().photoTaker(), taker);
  EXPECT_EQ(tool.controller().preview()->layer(), taker->getLayer());
}

TEST(CameraFollowing, TellsThePreviewOnlyOnceThatNoCaptureIsSetUp) {
  ToolFixture tool;
  tool.launch();
  tool.unplug("Desk camera");
  tool.journal.clear();
  tool.loop.advance(3s);
  EXPECT_THAT(tool.journal.of("button"), IsEmpty());
  EXPECT_EQ(tool.journal.count("warningText text No camera found"), 3);
}

TEST(CameraFollowing, BuildsANewTakerWhenTheCameraComesBack) {
  ToolFixture tool;
  tool.launch();
  tool.unplug("Desk camera");
  tool.plug("Desk camera");
  EXPECT_EQ(tool.takersMade(), 2U);
  EXPECT_TRUE(tool.avFoundation.sessions.back()->running);
  EXPECT_TRUE(tool.previewLayout().view("button").enabled);
}

TEST(CameraFollowing, FallsToAnotherCameraAndStartsIt) {
  ToolFixture tool{{.cameras = {"First", "Second"}}};
  tool.launch();
  tool.journal.clear();
  tool.unplug("First");
  EXPECT_TRUE(tool.journal.inOrder(
      {"input id of Second", "button enabled YES", "captureView setLayer", "session startRunning"}));
  EXPECT_EQ(tool.controller().preview()->cameraSource()->uniqueID(), "id of Second");
}

TEST(CameraFollowing, ReleasesThePreviousTakerWithoutStoppingItsSession) {
  ToolFixture tool{{.cameras = {"First", "Second"}}};
  tool.launch();
  const std::weak_ptr<PhotoTaker> previous = tool.controller().photoTaker();
  tool.journal.clear();
  tool.unplug("First");
  EXPECT_TRUE(previous.expired());
  EXPECT_THAT(tool.journal.of("session stopRunning"), IsEmpty());
}

TEST(CameraFollowing, TreatsRefusedAccessAsNoCamera) {
  ToolFixture tool{{.authorization = AVAuthorizationStatus::Denied}};
  tool.launch();
  EXPECT_EQ(tool.takersMade(), 0U);
  EXPECT_EQ(tool.previewLayout().view("warningText").text, "The tool is not allowed to access the camera.");
  EXPECT_EQ(tool.controller().preview()->cameraSource()->uniqueID(), "id of Desk camera");
  EXPECT_FALSE(tool.controller().preview()->cameraAvailable());
}

TEST(CameraFollowing, LosesTheCameraWhenAccessIsTakenBack) {
  ToolFixture tool;
  tool.launch();
  tool.avFoundation.authorization = AVAuthorizationStatus::Denied;
  tool.loop.advance(1s);
  EXPECT_EQ(tool.controller().currentCamera(), nullptr);
  EXPECT_FALSE(tool.previewLayout().view("button").enabled);
}

TEST(CameraFollowing, IgnoresEverythingWhileAShotIsPendingAndCatchesUpAfterwards) {
  ToolFixture tool{{.cameras = {"First", "Second"}}};
  tool.launch();
  tool.pressShoot();
  tool.journal.clear();
  tool.unplug("First");
  tool.loop.advance(5s);
  tool.controller().onStartPreview();
  tool.controller().onStopPreview();
  EXPECT_THAT(tool.journal.of("session"), IsEmpty());
  EXPECT_THAT(tool.journal.of("warning"), IsEmpty());
  EXPECT_EQ(tool.controller().currentCamera()->uniqueID(), "id of First");

  tool.savePhoto();
  tool.loop.advance(1s);
  EXPECT_EQ(tool.controller().currentCamera()->uniqueID(), "id of Second");
}

TEST(CameraFollowing, LeavesPreviewAndTakerAloneWhileThePreferencesAreVisible) {
  ToolFixture tool{{.cameras = {"First", "Second"}}};
  tool.launch();
  tool.openPreferences();
  tool.journal.clear();
  tool.unplug("First");
  tool.plug("Third");
  tool.loop.advance(5s);
  EXPECT_THAT(tool.journal.of("session"), IsEmpty());
  EXPECT_THAT(tool.journal.of("warning"), IsEmpty());
  EXPECT_THAT(tool.journal.of("button"), IsEmpty());
  EXPECT_EQ(tool.takersMade(), 1U);
}

TEST(CameraFollowing, AppliesTheChosenCameraWhenThePreferencesLeaveTheScreen) {
  ToolFixture tool{{.cameras = {"First", "Second"}}};
  tool.launch();
  tool.openPreferences();
  tool.chooseCamera(1);
  tool.loop.advance(5s);
  EXPECT_EQ(tool.controller().currentCamera()->uniqueID(), "id of First");
  tool.closeWindow(kPreferencesWindow);
  EXPECT_EQ(tool.controller().currentCamera()->uniqueID(), "id of Second");
}

TEST(CameraFollowing, DoesNotRebuildForTheSameCameraChosenAgain) {
  ToolFixture tool{{.cameras = {"First", "Second"}}};
  tool.launch();
  tool.openPreferences();
  tool.chooseCamera(1);
  tool.chooseCamera(0);
  tool.closeWindow(kPreferencesWindow);
  EXPECT_EQ(tool.takersMade(), 1U);
}

TEST(CameraFollowing, GoesBackToTheChosenCameraOnceItIsThereAgain) {
  ToolFixture tool{{.cameras = {"First", "Second"}}};
  tool.defaults.values["VideoSourceID"] = "id of Second";
  ToolFixture& run = tool;
  run.launch();
  ASSERT_EQ(run.controller().currentCamera()->uniqueID(), "id of Second");
  run.unplug("Second");
  EXPECT_EQ(run.controller().currentCamera()->uniqueID(), "id of First");
  run.plug("Second");
  EXPECT_EQ(run.controller().currentCamera()->uniqueID(), "id of Second");
  EXPECT_THAT(run.journal.of("defaults"), IsEmpty());
}

TEST(SilentCamera, StopsPollingOnceTheTakerIsBuiltBeforeTheShot) {
  ToolFixture tool{{.showPreview = false}};
  tool.launch();
  EXPECT_EQ(tool.takersMade(), 1U);
  EXPECT_FALSE(tool.hasActiveTimer());
  EXPECT_EQ(tool.controller().count(), 0);
}

TEST(SilentCamera, StaysTheOneWhenAnotherComesBeforeTheShot) {
  ToolFixture tool{{.showPreview = false}};
  tool.launch();
  tool.plug("Second camera");
  EXPECT_THAT(tool.journal.of("notify"), ElementsAre());
  tool.loop.advance(1s);
  EXPECT_GT(tool.avFoundation.output().pending(), 0);
}

TEST(SilentCamera, WithoutOneSaysSoAndQuitsASecondLater) {
  ToolFixture tool{{.showPreview = false, .cameras = {}}};
  tool.launch();
  EXPECT_THAT(tool.journal.of("notify"),
              ElementsAre("notify Photo_Taken_Notification_Error: Camera not found."));
  EXPECT_TRUE(tool.hasActiveTimer());
  tool.loop.advance(999ms);
  EXPECT_FALSE(tool.application.ended);
  tool.loop.advance(1ms);
  EXPECT_TRUE(tool.application.ended);
}

TEST(SilentCamera, WithoutAccessSaysSoAndQuitsASecondLater) {
  ToolFixture tool{{.showPreview = false, .authorization = AVAuthorizationStatus::Denied}};
  tool.launch();
  EXPECT_THAT(tool.journal.of("notify"),
              ElementsAre("notify Photo_Taken_Notification_Error: Allow access to the camera in the macOS "
                          "Privacy settings."));
  tool.loop.advance(1s);
  EXPECT_TRUE(tool.application.ended);
}

TEST(CameraAccess, IsAskedForAfterThePreviewWasToldAndBeforeTheTaker) {
  ToolFixture tool{{.authorization = AVAuthorizationStatus::NotDetermined}};
  tool.launch();
  EXPECT_TRUE(tool.journal.inOrder(
      {"warningText text The tool is not allowed to access the camera.", "access requested"}));
  EXPECT_EQ(tool.takersMade(), 0U);
}

TEST(CameraAccess, IsNotAskedForOnceAnswered) {
  for (const auto answered : {AVAuthorizationStatus::Denied, AVAuthorizationStatus::Authorized}) {
    ToolFixture tool{{.authorization = answered}};
    tool.launch();
    tool.loop.advance(3s);
    EXPECT_THAT(tool.journal.of("access requested"), IsEmpty());
  }
}

TEST(CameraAccess, IsAskedForAgainEverySecondWhileTheAnswerIsOpen) {
  for (const bool showPreview : {true, false}) {
    ToolFixture tool{{.showPreview = showPreview, .authorization = AVAuthorizationStatus::NotDetermined}};
    tool.launch();
    tool.loop.advance(3s);
    EXPECT_EQ(tool.journal.count("access requested"), 4);
    EXPECT_THAT(tool.journal.of("notify"), IsEmpty());
    EXPECT_EQ(tool.takersMade(), 0U);
  }
}

TEST(CameraAccess, AnswerComesBackOnALaterTurnOfTheMainLoop) {
  ToolFixture tool{{.authorization = AVAuthorizationStatus::NotDetermined}};
  tool.launch();
  tool.avFoundation.authorization = AVAuthorizationStatus::Authorized;
  tool.avFoundation.accessRequests.front()(true);
  EXPECT_EQ(tool.takersMade(), 0U);
  tool.loop.run();
  EXPECT_EQ(tool.takersMade(), 1U);
}

TEST(CameraAccess, GrantedLetsASilentRunTakeItsPhoto) {
  ToolFixture tool{{.showPreview = false, .authorization = AVAuthorizationStatus::NotDetermined}};
  tool.launch();
  tool.loop.advance(500ms);
  tool.answerAccess(AVAuthorizationStatus::Authorized);
  EXPECT_FALSE(tool.hasActiveTimer());
  tool.loop.advance(1s);
  EXPECT_EQ(tool.avFoundation.output().pending(), 1);
}

TEST(CameraAccess, RefusedEndsASilentRunWithTheReason) {
  ToolFixture tool{{.showPreview = false, .authorization = AVAuthorizationStatus::NotDetermined}};
  tool.launch();
  tool.answerAccess(AVAuthorizationStatus::Denied);
  EXPECT_THAT(tool.journal.of("notify"),
              ElementsAre("notify Photo_Taken_Notification_Error: Allow access to the camera in the macOS "
                          "Privacy settings."));
  tool.loop.advance(1s);
  EXPECT_TRUE(tool.application.ended);
}

TEST(CameraAccess, AnswerAfterTheControllersEndDoesNothing) {
  fakes::FakePlatform desktop;
  desktop.avFoundation.authorization = AVAuthorizationStatus::NotDetermined;
  {
    AppDelegate delegate(desktop.platform, desktop.suite);
    delegate.applicationDidFinishLaunching({});
  }
  ASSERT_EQ(desktop.avFoundation.accessRequests.size(), 1U);
  desktop.journal.clear();
  desktop.avFoundation.accessRequests.front()(true);
  desktop.loop.run();
  EXPECT_THAT(desktop.journal.of("cameras listed"), IsEmpty());
}

}  // namespace
}  // namespace camera_shot
