#include <algorithm>
#include <array>
#include <fstream>
#include <future>
#include <iomanip>
#include <iterator>
#include <sstream>

#include "tests/camera/CameraFixture.h"

namespace camera_test {
namespace {

using picture::Frame;
using picture::PixelFormat;
using ::testing::Contains;

class Still : public CameraFixture {
 protected:
  void TearDown() override { end(); }
};

// The number of the newest frame that the camera has sent; the files' names are numbers.
int newestFrame(const VirtualCamera& camera) {
  int newest = 0;
  for (const auto& file : std::filesystem::directory_iterator(camera.dumpFolder()))
    newest = std::max(newest, std::stoi(file.path().stem()));
  return newest;
}

std::filesystem::path frameFile(const VirtualCamera& camera, int number) {
  std::ostringstream name;
  name << std::setw(8) << std::setfill('0') << number << ".jpg";
  return camera.dumpFolder() / name.str();
}

TEST_F(Still, IsTheCamerasOwnPicture) {
  const auto camera = plugIn("desk", "modes=MJPG:1280x720@30");
  start();
  const Rig rig = runningRig("desk");
  const Outcome outcome = take(rig);
  ASSERT_EQ(outcome.error, 0);
  EXPECT_FALSE(outcome.onMainThread);
  const picture::Frame& frame = outcome.picture->frame();
  EXPECT_EQ(frame.format, picture::PixelFormat::MJPG);
  EXPECT_EQ(frame.width, 1280);
  EXPECT_EQ(frame.height, 720);
  EXPECT_TRUE(isADeliveredFrame(frame.bytes, camera));
}

TEST_F(Still, OfARawCameraIsItsPixels) {
  const auto camera = plugIn("desk", "modes=YUY2:640x480@30");
  start();
  const Outcome outcome = take(runningRig("desk"));
  ASSERT_EQ(outcome.error, 0);
  const picture::Frame& frame = outcome.picture->frame();
  EXPECT_EQ(frame.format, picture::PixelFormat::YUY2);
  EXPECT_EQ(frame.stride, 1280);
  EXPECT_EQ(frame.matrix, picture::ColorMatrix::BT601);
  EXPECT_EQ(frame.range, picture::ColorRange::Unstated);
  EXPECT_TRUE(isADeliveredFrame(frame.bytes, camera));
}

TEST_F(Still, OfARawCameraThatStatesNoColoursIsTheSameAtEverySize) {
  const auto camera = plugIn("desk", "modes=NV12:1280x720@30");
  start();
  const Outcome outcome = take(runningRig("desk"));
  ASSERT_EQ(outcome.error, 0);
  EXPECT_EQ(outcome.picture->frame().format, picture::PixelFormat::NV12);
  EXPECT_EQ(outcome.picture->frame().matrix, picture::ColorMatrix::BT601);
  EXPECT_TRUE(isADeliveredFrame(outcome.picture->frame().bytes, camera));
}

TEST_F(Still, ComesOutOfAnyMemory) {
  for (const std::string memory : {"memptr", "memfd", "dmabuf"}) {
    const auto camera = plugIn(memory, "modes=YUY2:640x480@30,memory=" + memory);
    if (!cameras_) start();
    turnUntil([&] { return cameras_->deviceWithUniqueID(memory) != nullptr; });
    const Outcome outcome = take(runningRig(memory));
    ASSERT_EQ(outcome.error, 0) << memory;
    EXPECT_TRUE(isADeliveredFrame(outcome.picture->frame().bytes, camera)) << memory;
  }
}

TEST_F(Still, SaysHowItsPictureLies) {
  plugIn("desk", "modes=MJPG:640x480@30,transform=flipped-90");
  start();
  const Outcome outcome = take(runningRig("desk"));
  ASSERT_EQ(outcome.error, 0);
  EXPECT_EQ(outcome.picture->frame().transform, picture::Transform::Flipped90);
}

TEST_F(Still, WaitsUntilTheExposureHasSettled) {
  plugIn("desk", "modes=MJPG:640x480@30,warmup=20");
  start();
  const Rig rig = runningRig("desk");
  const Outcome outcome = take(rig);
  ASSERT_EQ(outcome.error, 0);
  // Twenty dark frames, then good ones.
  EXPECT_GE(outcome.picture->frame().sequence, 20U);
  EXPECT_GE(rig.arrived(), 20U);
  EXPECT_LT(rig.copied(), rig.arrived() / 2) << "frames that nobody wants are not copied";
}

TEST_F(Still, OfASettledSessionIsTheVeryNextFrame) {
  const auto camera = plugIn("desk", "modes=MJPG:640x480@30");
  start();
  const Rig rig = runningRig("desk");
  const Outcome first = take(rig);
  const Outcome second = take(rig);
  ASSERT_EQ(second.error, 0);
  EXPECT_GT(second.picture->frame().sequence, first.picture->frame().sequence);
  // Stalled, the camera has sent all it has; a still that is asked for now is of a frame sent later.
  camera.ask("stall");
  camera.ask("wait-stalled");
  const int newest = newestFrame(camera);
  rig.capture();
  camera.ask("resume");
  awaitOutcomes(rig, 3);
  // On a busy machine the request may reach the camera's thread a frame or two after the camera has resumed.
  EXPECT_THAT((std::array{contents(frameFile(camera, newest + 1)), contents(frameFile(camera, newest + 2)),
                          contents(frameFile(camera, newest + 3))}),
              Contains(rig.delegate->outcomes()[2].picture->frame().bytes));
}

TEST_F(Still, EachRequestGetsOneAnswer) {
  plugIn("desk", "modes=MJPG:640x480@30");
  start();
  const Rig rig = runningRig("desk");
  take(rig);
  for (int i = 0; i < 5; ++i)
    rig.capture();
  awaitOutcomes(rig, 6);
  take(rig);
  EXPECT_EQ(rig.delegate->outcomes().size(), 7U);
}

TEST_F(Still, IsMirroredAsItsConnectionSays) {
  plugIn("desk", "modes=MJPG:640x480@30");
  start();
  const Rig rig = runningRig("desk");
  const auto connection = rig.output->connections().at(0);
  EXPECT_EQ(connection->inputPorts().at(0).mediaType, platform::AVMediaTypeVideo);
  ASSERT_TRUE(connection->isVideoMirroringSupported());
  EXPECT_FALSE(take(rig).picture->mirrored());
  connection->setVideoMirrored(true);
  EXPECT_TRUE(take(rig).picture->mirrored());
  EXPECT_FALSE(rig.layer->connection()->isVideoMirrored()) << "the preview is mirrored by itself";
}

TEST_F(Still, HasNoWayFromASessionWithoutAnInput) {
  plugIn("desk");
  start();
  const auto output = cameras_->photoOutput();
  EXPECT_TRUE(output->connections().empty());
  const auto session = cameras_->session();
  session->addInput(nullptr);
  session->addOutput(output);
  EXPECT_TRUE(output->connections().empty());
  EXPECT_EQ(cameras_->previewLayerWithSession(session)->connection(), nullptr);
}

TEST_F(Still, MayWaitForTheMainThreadWhileThatReleasesTheSession) {
  plugIn("desk", "modes=MJPG:640x480@30");
  start();
  Rig rig = runningRig("desk");
  bool waited = false;
  rig.delegate->atOutcome = [&] {
    loop_.sync([&] {
      rig.session->stopRunning();
      rig.layer.reset();
      rig.session.reset();
      waited = true;
    });
  };
  rig.capture();
  awaitOutcomes(rig, 1);
  EXPECT_TRUE(waited);
  EXPECT_EQ(rig.delegate->outcomes()[0].error, 0);
}

TEST_F(Still, UnderWayAtTheEndIsCompleted) {
  plugIn("desk", "modes=MJPG:640x480@30");
  start();
  const Rig rig = runningRig("desk");
  std::promise<void> entered;
  std::promise<void> mayLeave;
  rig.delegate->atOutcome = [&] {
    entered.set_value();
    mayLeave.get_future().wait();
  };
  rig.capture();
  entered.get_future().wait();
  rig.capture();
  std::thread saver([&] { mayLeave.set_value(); });
  end();
  saver.join();
  EXPECT_EQ(rig.delegate->outcomes().size(), 1U) << "the one under way was completed, the other dropped";
}

TEST_F(Still, OfTwoCamerasComesFromItsOwn) {
  const auto desk = plugIn("desk", "modes=MJPG:640x480@30");
  const auto door = plugIn("door", "modes=MJPG:800x600@30");
  start();
  const Rig first = runningRig("desk");
  const Rig second = runningRig("door");
  first.capture();
  EXPECT_TRUE(isADeliveredFrame(take(second).picture->frame().bytes, door));
  awaitOutcomes(first, 1);
  EXPECT_TRUE(isADeliveredFrame(first.delegate->outcomes()[0].picture->frame().bytes, desk));
}

TEST_F(Still, SurvivesQuickStartsAndStops) {
  const auto camera = plugIn("desk", "modes=MJPG:640x480@30");
  start();
  const Rig rig = this->rig(device("desk"));
  for (int i = 0; i < 20; ++i) {
    rig.session->startRunning();
    rig.session->startRunning();
    rig.session->stopRunning();
  }
  rig.session->startRunning();
  EXPECT_EQ(take(rig).error, 0);
  rig.session->stopRunning();
  camera.ask("wait-idle");
}

TEST_F(Still, ShutsTheCameraDownWhenItsSessionIsReleased) {
  const auto camera = plugIn("desk", "modes=MJPG:640x480@30");
  start();
  {
    const Rig rig = runningRig("desk");
    camera.ask("wait-streaming");
  }
  camera.ask("wait-idle");
}

}  // namespace
}  // namespace camera_test
