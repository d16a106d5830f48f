#include <cerrno>

#include "platform/linux/photo/LivePicture.h"
#include "tests/camera/CameraFixture.h"

namespace camera_test {
namespace {

using platform_linux::LivePicture;

class Preview : public CameraFixture {
 protected:
  void TearDown() override { end(); }

  // Counts frames on the main thread.
  void listen(const Rig& rig) {
    auto& picture = dynamic_cast<LivePicture&>(*rig.layer);
    picture.setFrameListener([this, &picture] {
      ASSERT_NE(picture.latestFrame(), nullptr);
      loop_.async([this] { ++frames_; });
    });
  }
  int frames_ = 0;
};

TEST_F(Preview, ShowsEachFrameWhileSomebodyLooks) {
  const auto camera = plugIn("desk", "modes=MJPG:640x480@30");
  start();
  const Rig rig = runningRig("desk");
  auto& picture = dynamic_cast<LivePicture&>(*rig.layer);
  EXPECT_EQ(picture.latestFrame(), nullptr);
  listen(rig);
  turnUntil([&] { return frames_ >= 5; });
  EXPECT_GE(rig.copied(), 5U);

  picture.setFrameListener(nullptr);
  EXPECT_EQ(picture.latestFrame(), nullptr);
  loop_.run();
  const int seen = frames_;
  EXPECT_EQ(take(rig).error, 0) << "frames go on arriving";
  EXPECT_EQ(frames_, seen);
}

TEST_F(Preview, HasNoFrameWhenNobodyLooks) {
  const auto camera = plugIn("desk", "modes=MJPG:640x480@30");
  start();
  const Rig rig = runningRig("desk");
  camera.ask("wait-frames 20");
  EXPECT_EQ(dynamic_cast<LivePicture&>(*rig.layer).latestFrame(), nullptr);
}

TEST_F(Preview, SaysWhyNoPictureComes) {
  const auto camera = plugIn("desk", "modes=MJPG:640x480@30");
  start();
  const Rig rig = runningRig("desk");
  auto& picture = dynamic_cast<LivePicture&>(*rig.layer);
  int calls = 0;
  picture.setFrameListener([&] {
    const int error = picture.error();
    loop_.async([&calls, error] { calls += error == ENODEV ? 1 : 0; });
  });
  EXPECT_EQ(picture.error(), 0);
  camera.ask("unplug");
  turnUntil([&] { return calls > 0; });
  EXPECT_EQ(picture.latestFrame(), nullptr);
  EXPECT_EQ(calls, 1);
  rig.session->stopRunning();
  turnUntil([&] { return picture.error() == 0; });
}

TEST_F(Preview, HoldsNoFrameAfterTheStop) {
  const auto camera = plugIn("desk", "modes=MJPG:640x480@30");
  start();
  const Rig rig = runningRig("desk");
  listen(rig);
  turnUntil([&] { return frames_ >= 2; });
  rig.session->stopRunning();
  camera.ask("wait-idle");
  EXPECT_EQ(dynamic_cast<LivePicture&>(*rig.layer).latestFrame(), nullptr);
}

TEST_F(Preview, MayBeTakenAwayWhileFramesArrive) {
  plugIn("desk", "modes=MJPG:640x480@30");
  start();
  Rig rig = runningRig("desk");
  listen(rig);
  turnUntil([&] { return frames_ >= 2; });
  dynamic_cast<LivePicture&>(*rig.layer).setFrameListener(nullptr);
  rig.layer.reset();
  EXPECT_EQ(take(rig).error, 0);
}

TEST_F(Preview, ChoosesTheLargestSmoothMode) {
  plugIn("desk", "modes=YUY2:1280x720@10+MJPG:640x480@30+MJPG:1280x720@30/15+YUY2:640x480@60");
  start();
  const Rig rig = runningRig("desk");
  const auto picture = take(rig).picture;
  ASSERT_NE(picture, nullptr);
  EXPECT_EQ(picture->frame().format, picture::PixelFormat::MJPG);
  EXPECT_EQ(picture->frame().width, 1280);
}

}  // namespace
}  // namespace camera_test
