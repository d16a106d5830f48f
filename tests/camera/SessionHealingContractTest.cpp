// Streams end while a session runs, and the session goes on by itself.
#include "picture/PixelLayout.h"
#include "platform/linux/photo/LivePicture.h"
#include "tests/camera/CameraFixture.h"

namespace camera_test {
namespace {

class SessionHealing : public CameraFixture {
 protected:
  void TearDown() override { end(); }

  /// Counts the frames that somebody who looks at the live picture sees.
  void watch(const Rig& rig) {
    dynamic_cast<platform_linux::LivePicture&>(*rig.layer).setFrameListener([this] {
      loop_.async([this] { ++frames_; });
    });
  }
  void awaitFrames(int count) {
    const int until = frames_ + count;
    turnUntil([&] { return frames_ >= until; });
  }
  int frames_ = 0;
};

TEST_F(SessionHealing, ThePreviewOfACameraThatComesBackGoesOn) {
  const auto camera = plugIn("desk", kMode);
  start();
  const Rig rig = runningRig("desk");
  watch(rig);
  awaitFrames(3);
  camera.ask("unplug");
  awaitNews(1);
  camera.ask("plug");
  awaitNews(2);
  awaitFrames(3);
}

TEST_F(SessionHealing, AStillWaitsForACameraThatComesBack) {
  const auto camera = plugIn("desk", kMode);
  start();
  const Rig rig = runningRig("desk");
  camera.stall();
  rig.capture();
  camera.ask("unplug");
  camera.ask("plug");
  awaitOutcomes(rig, 1);
  EXPECT_EQ(rig.delegate->outcomes()[0].error, 0);
}

TEST_F(SessionHealing, AStillComesThoughTheFirstBuffersHaveNoMemory) {
  const auto camera = plugIn("desk", "modes=YUY2:160x120@30,memory=dmabuf,fault=without-memory");
  start();
  const Rig rig = runningRig("desk");
  rig.capture();
  awaitOutcomes(rig, 1);
  EXPECT_EQ(rig.delegate->outcomes()[0].error, 0);
}

class FormatChange : public SessionHealing, public testing::WithParamInterface<std::string> {};

TEST_P(FormatChange, AStillThatWaitsIsAPictureOfTheNewFormat) {
  const auto camera = plugIn("desk", kMode);
  start();
  const Rig rig = runningRig("desk");
  camera.stall();
  rig.capture();
  camera.ask("modes " + GetParam());
  camera.ask("resume");
  awaitOutcomes(rig, 1);
  const Outcome outcome = rig.delegate->outcomes()[0];
  ASSERT_EQ(outcome.error, 0);
  const picture::Frame& frame = outcome.picture->frame();
  EXPECT_TRUE(GetParam().starts_with(picture::PixelLayout::of(frame.format).name));
  EXPECT_THAT(GetParam(),
              testing::HasSubstr(std::to_string(frame.width) + "x" + std::to_string(frame.height)));
  EXPECT_TRUE(isADeliveredFrame(frame.bytes, camera));
}

INSTANTIATE_TEST_SUITE_P(To, FormatChange,
                         testing::Values("MJPG:320x240@30", "YUY2:640x480@30", "NV12:160x120@30",
                                         "MJPG:1280x720@15", "MJPG:640x480@15"));

TEST_F(SessionHealing, ThePreviewGoesOnWhenTheCameraChangesItsFormat) {
  const auto camera = plugIn("desk", kMode);
  start();
  const Rig rig = runningRig("desk");
  watch(rig);
  awaitFrames(3);
  camera.ask("modes YUY2:320x240@30");
  const auto& picture = dynamic_cast<platform_linux::LivePicture&>(*rig.layer);
  turnUntil([&] {
    const auto frame = picture.latestFrame();
    return frame && frame->width == 320;
  });
  EXPECT_EQ(picture.latestFrame()->format, picture::PixelFormat::YUY2);
  awaitFrames(3);
}

TEST_F(SessionHealing, ASessionGoesOnWithADaemonThatComesBack) {
  plugIn("desk", kMode);
  start();
  const Rig rig = runningRig("desk");
  pipewire("kill");
  pipewire("start");
  awaitNews(2);
  EXPECT_EQ(take(rig).error, 0);
}

}  // namespace
}  // namespace camera_test
