// Streams end while a session runs, and the session goes on by itself.
#include "platform/linux/photo/LivePicture.h"
#include "tests/camera/CameraFixture.h"

namespace camera_test {
namespace {

constexpr const char* kMode = "modes=MJPG:640x480@30";

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
  camera.ask("wait-frames 5");
  rig.capture();
  camera.ask("unplug");
  camera.ask("plug");
  awaitOutcomes(rig, 1);
  EXPECT_EQ(rig.delegate->outcomes()[0].error, 0);
}

TEST_F(SessionHealing, AStillWaitsForADaemonThatComesBack) {
  plugIn("desk", kMode);
  start();
  const Rig rig = runningRig("desk");
  rig.capture();
  pipewire("kill");
  pipewire("start");
  awaitOutcomes(rig, 1);
  EXPECT_EQ(rig.delegate->outcomes()[0].error, 0);
}

}  // namespace
}  // namespace camera_test
