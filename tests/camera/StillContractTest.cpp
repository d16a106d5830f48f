#include <algorithm>
#include <future>

#include "platform/linux/camera/Exposure.h"
#include "tests/camera/CameraFixture.h"

namespace camera_test {
namespace {

using ::testing::IsEmpty;

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

// The number of the frame with these bytes; 0 when the camera has sent none such. Raw frames have their
// numbers drawn on them.
int numberOf(const std::vector<std::uint8_t>& bytes, const VirtualCamera& camera) {
  for (const auto& file : std::filesystem::directory_iterator(camera.dumpFolder()))
    if (contents(file.path()) == bytes) return std::stoi(file.path().stem());
  return 0;
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
  const Outcome outcome = take(runningRig("desk"));
  ASSERT_EQ(outcome.error, 0);
  // Two thirds of a second of dark frames, then good ones.
  const auto exposure = platform_linux::exposureOf(outcome.picture->frame());
  ASSERT_TRUE(exposure);
  EXPECT_GT(exposure->green, 100);
}

TEST_F(Still, OfASettledSessionIsOfALaterFrame) {
  const auto camera = plugIn("desk", "modes=YUY2:320x240@30");
  start();
  const Rig rig = runningRig("desk");
  const Outcome first = take(rig);
  const Outcome second = take(rig);
  ASSERT_EQ(second.error, 0);
  EXPECT_GT(second.picture->frame().sequence, first.picture->frame().sequence);
  // Stalled, the camera has sent all it has; a still that is asked for now is of a frame sent later.
  camera.stall();
  const int newest = newestFrame(camera);
  rig.capture();
  camera.ask("resume");
  awaitOutcomes(rig, 3);
  EXPECT_GT(numberOf(rig.delegate->outcomes()[2].picture->frame().bytes, camera), newest);
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
  plugIn("mute", "modes=MJPG:640x480@30,fault=stall:0");
  start();
  const Rig rig = runningRig("desk");
  const Rig waiting = runningRig("mute");
  std::promise<void> entered;
  std::promise<void> mayLeave;
  rig.delegate->atOutcome = [&] {
    entered.set_value();
    mayLeave.get_future().wait();
  };
  rig.capture();
  entered.get_future().wait();
  waiting.capture();
  std::thread saver([&] { mayLeave.set_value(); });
  end();
  saver.join();
  EXPECT_EQ(rig.delegate->outcomes().size(), 1U) << "the one under way was completed";
  EXPECT_THAT(waiting.delegate->outcomes(), IsEmpty()) << "the one without a picture was dropped";
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
