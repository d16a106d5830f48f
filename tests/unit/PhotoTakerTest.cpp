#include <cerrno>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/unit/PhotoTakerFixture.h"

namespace camera_shot {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

const std::string kPhotoPath = "/home/ada/Pictures/Camera shot 2026-11-21 12.00.00.png";
const std::string kCapture = "output capture AVVideoCodecKey=jpeg";

std::string diagnosticLine(const std::string& code) {
  return "log Error while captureStillImageAsynchronouslyFromConnection. code = " + code + ". ";
}

TEST(PhotoTaker, IsBuiltInOrderAndDoesNotStartTheSession) {
  PhotoTakerFixture desk;
  desk.taker();
  EXPECT_THAT(desk.journal.lines(), ElementsAre("input desk", "session preset AVCaptureSessionPresetHigh",
                                                "session addInput", "session addOutput"));
  EXPECT_EQ(desk.taker().getLayer(), desk.avFoundation.layers.back());
}

TEST(PhotoTaker, DoesNotNoticeThatTheCameraCannotBeOpened) {
  PhotoTakerFixture desk;
  desk.avFoundation.inputFails = true;
  desk.taker();
  EXPECT_THAT(desk.journal.lines(), ElementsAre("input desk", "session preset AVCaptureSessionPresetHigh",
                                                "session addInput none", "session addOutput"));
}

TEST(PhotoTaker, PassesEveryStartAndStopOn) {
  PhotoTakerFixture desk;
  desk.taker().stopPreview();
  desk.taker().startPreview();
  desk.taker().startPreview();
  desk.taker().stopPreview();
  desk.taker().stopPreview();
  const std::vector<std::string> calls(desk.journal.lines().end() - 5, desk.journal.lines().end());
  EXPECT_THAT(calls, ElementsAre("session stopRunning", "session startRunning", "session startRunning",
                                 "session stopRunning", "session stopRunning"));
}

TEST(PhotoTaker, DoesNotStopTheSessionAtItsEnd) {
  PhotoTakerFixture desk;
  desk.taker().startPreview();
  desk.journal.clear();
  desk.made.reset();
  EXPECT_THAT(desk.journal.lines(), IsEmpty());
}

TEST(PhotoTaker, SwitchesAutomaticMirroringOffThenMirroringOnThenCaptures) {
  PhotoTakerFixture desk;
  desk.taker();
  desk.journal.clear();
  desk.taker().take();
  EXPECT_THAT(desk.journal.lines(), ElementsAre("photo connection automaticMirroring NO",
                                                "photo connection mirrored YES", kCapture));
}

TEST(PhotoTaker, LeavesAConnectionThatCannotMirrorAlone) {
  PhotoTakerFixture desk;
  desk.connection->mirroringSupported = false;
  desk.taker().take();
  EXPECT_THAT(desk.journal.of("photo connection"), IsEmpty());
  EXPECT_EQ(desk.journal.lines().back(), kCapture);
}

TEST(PhotoTaker, UsesTheFirstConnectionThatHasAVideoPort) {
  PhotoTakerFixture desk;
  const auto sound = std::make_shared<fakes::FakeConnection>(desk.journal, "sound connection");
  sound->ports = {{"soun"}};
  const auto none = std::make_shared<fakes::FakeConnection>(desk.journal, "portless connection");
  none->ports = {};
  const auto second = std::make_shared<fakes::FakeConnection>(desk.journal, "second connection");
  desk.connection->ports = {{"soun"}, {platform::AVMediaTypeVideo}};
  desk.avFoundation.nextConnections = {sound, none, desk.connection, second};
  desk.taker().take();
  EXPECT_TRUE(desk.journal.has("photo connection mirrored YES"));
  for (const std::string other : {"sound", "portless", "second"})
    EXPECT_THAT(desk.journal.of(other), IsEmpty());
}

TEST(PhotoTaker, WithoutAVideoConnectionShootsUnmirroredAndReportsAFailureAtOnce) {
  PhotoTakerFixture desk;
  desk.avFoundation.nextConnections.emplace();
  desk.taker().take();
  desk.output().fail(EIO);
  EXPECT_EQ(desk.journal.count(kCapture), 1);
  EXPECT_THAT(desk.journal.of("photo connection"), IsEmpty());
  EXPECT_TRUE(desk.journal.inOrder({diagnosticLine("5"), "onError"}));
}

TEST(PhotoTaker, SavesInOrderAndTellsOfTheFileOnlyAfterItWasWritten) {
  PhotoTakerFixture desk;
  desk.taker().take();
  desk.journal.clear();
  desk.output().deliver(desk.photo());
  EXPECT_THAT(desk.journal.lines(), ElementsAre("decode photo", "encode photo as PNG",
                                                "write photo.png to " + kPhotoPath + " atomically"));
  desk.journal.clear();
  desk.loop.run();
  EXPECT_THAT(desk.journal.lines(),
              ElementsAre("overlay contents photo", "overlay gravity resizeAspect",
                          "overlay frame 0,0 640x480", "preview addSublayer", "onSuccess " + kPhotoPath));
}

TEST(PhotoTaker, ShowsTheStillOnThePreviewForOneSecond) {
  PhotoTakerFixture desk;
  desk.shoot();
  desk.loop.advance(999ms);
  EXPECT_FALSE(desk.journal.has("overlay removeFromSuperlayer"));
  desk.loop.advance(1ms);
  EXPECT_EQ(desk.journal.count("overlay removeFromSuperlayer"), 1);
}

/// The main thread does not stand still while the file is written on the camera's.
TEST(PhotoTaker, ShowsTheStillBeforeTheFileIsThereAndReportsItAfterwards) {
  PhotoTakerFixture desk;
  desk.files.whileWriting = [&] {
    desk.loop.run();
    EXPECT_TRUE(desk.journal.has("preview addSublayer"));
    EXPECT_THAT(desk.journal.of("onSuccess"), IsEmpty());
  };
  desk.shoot();
  desk.loop.run();
  EXPECT_TRUE(desk.journal.inOrder({"preview addSublayer", "write photo.png to " + kPhotoPath + " atomically",
                                    "onSuccess " + kPhotoPath}));
}

TEST(PhotoTaker, GivesTheOverlayTheBoundsThatThePreviewHasThen) {
  PhotoTakerFixture desk;
  desk.shoot();
  desk.avFoundation.layers.back()->ownBounds = {0, 0, 320, 200};
  desk.loop.run();
  EXPECT_TRUE(desk.journal.has("overlay frame 0,0 320x200"));
}

TEST(PhotoTaker, WithoutAPreviewLayerGivesTheOverlayNoSizeAndStillReports) {
  PhotoTakerFixture desk;
  desk.avFoundation.nextLayerIsMissing = true;
  desk.shoot();
  desk.loop.run();
  EXPECT_TRUE(desk.journal.inOrder({"overlay frame 0,0 0x0", "onSuccess " + kPhotoPath}));
  EXPECT_FALSE(desk.journal.has("preview addSublayer"));
}

TEST(PhotoTaker, LivesUntilItsQueuedWorkHasRun) {
  PhotoTakerFixture desk;
  desk.shoot();
  desk.made.reset();
  desk.loop.run();
  EXPECT_TRUE(desk.journal.inOrder({"preview addSublayer", "onSuccess " + kPhotoPath}));
}

TEST(PhotoTaker, RetriesAFailedMirroredCaptureOnceUnmirroredAndInSilence) {
  PhotoTakerFixture desk;
  desk.taker().take();
  desk.journal.clear();
  desk.output().fail(EIO);
  EXPECT_THAT(desk.journal.lines(), ElementsAre("photo connection mirrored NO", kCapture));
  desk.output().deliver(desk.photo());
  desk.loop.run();
  EXPECT_EQ(desk.journal.of("onSuccess").size(), 1U);
  EXPECT_THAT(desk.journal.of("log"), IsEmpty());
  EXPECT_THAT(desk.journal.of("onError"), IsEmpty());
}

TEST(PhotoTaker, StartsTheNextShotMirroredAgainAfterARetry) {
  PhotoTakerFixture desk;
  desk.taker().take();
  desk.output().fail(EIO);
  desk.output().deliver(desk.photo());
  desk.journal.clear();
  desk.taker().take();
  EXPECT_TRUE(desk.connection->mirrored);
  EXPECT_TRUE(desk.journal.inOrder({"photo connection mirrored YES", kCapture}));
}

TEST(PhotoTaker, ReportsTwoFailedAttemptsOnceWithTheRetrysError) {
  PhotoTakerFixture desk;
  desk.taker().take();
  desk.output().fail(EIO);
  desk.output().fail(ENODEV);
  desk.loop.advance(10s);
  EXPECT_THAT(desk.journal.of("log"), ElementsAre(diagnosticLine("19")));
  EXPECT_EQ(desk.journal.count("onError"), 1);
  EXPECT_EQ(desk.journal.count(kCapture), 2);
  EXPECT_EQ(desk.output().pending(), 0);
}

TEST(PhotoTaker, DoesNotRetryWhereMirroringIsNotSupported) {
  PhotoTakerFixture desk;
  desk.connection->mirroringSupported = false;
  desk.connection->mirrored = true;
  desk.taker().take();
  desk.output().fail(EIO);
  EXPECT_EQ(desk.journal.count(kCapture), 1);
  EXPECT_EQ(desk.journal.count("onError"), 1);
}

TEST(PhotoTaker, LogsAnErrorCodeCutToItsLow32BitsAsASignedNumber) {
  const std::vector<std::pair<std::int64_t, std::string>> codes{
      {-11800, "-11800"}, {0x1'0000'0005, "5"}, {0xFFFF'FFFF, "-1"}, {0x8000'0000, "-2147483648"}};
  for (const auto& [code, text] : codes) {
    PhotoTakerFixture desk;
    desk.avFoundation.nextConnections.emplace();
    desk.taker().take();
    desk.output().fail(code);
    EXPECT_THAT(desk.journal.of("log"), ElementsAre(diagnosticLine(text)));
  }
}

TEST(PhotoTaker, QuitsWhenThereIsNoOutputFolder) {
  PhotoTakerFixture desk;
  desk.files.pictures = std::nullopt;
  desk.taker().take();
  desk.journal.clear();
  desk.output().deliver(desk.photo());
  desk.loop.advance(10s);
  EXPECT_THAT(desk.journal.lines(), ElementsAre("application terminate"));
}

TEST(PhotoTaker, ReportsSuccessThoughTheFileCouldNotBeWritten) {
  PhotoTakerFixture desk;
  desk.appKit.writeFails = true;
  desk.shoot();
  desk.loop.run();
  EXPECT_TRUE(
      desk.journal.inOrder({"write photo.png to " + kPhotoPath + " atomically", "onSuccess " + kPhotoPath}));
  EXPECT_FALSE(desk.files.fileExistsAtPath(kPhotoPath));
}

TEST(PhotoTaker, ReportsSuccessThoughTheBytesAreNoPicture) {
  PhotoTakerFixture desk;
  desk.appKit.decodes = false;
  desk.shoot();
  desk.loop.run();
  EXPECT_TRUE(desk.journal.inOrder({"decode photo", "overlay contents none", "onSuccess " + kPhotoPath}));
  EXPECT_THAT(desk.journal.of("encode"), IsEmpty());
  EXPECT_THAT(desk.journal.of("write"), IsEmpty());
}

TEST(PhotoTaker, ReportsSuccessThoughThePhotoHasNoBytes) {
  PhotoTakerFixture desk;
  desk.taker().take();
  desk.output().deliver(std::make_shared<fakes::FakePhoto>(nullptr));
  desk.loop.run();
  EXPECT_TRUE(desk.journal.inOrder({"decode none", "overlay contents none", "onSuccess " + kPhotoPath}));
  EXPECT_THAT(desk.journal.of("write"), IsEmpty());
}

}  // namespace
}  // namespace camera_shot
