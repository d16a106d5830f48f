#include "tests/camera/CameraFixture.h"

namespace camera_test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class CameraListOnPipeWire : public CameraFixture {};

TEST_F(CameraListOnPipeWire, NamesCamerasInTheOrderInWhichTheyAppeared) {
  plugIn("zebra", "title=Zebra camera");
  plugIn("apricot", "title=Apricot camera");
  start();
  EXPECT_THAT(names(), ElementsAre("zebra", "apricot"));
  EXPECT_EQ(device("apricot")->localizedName(), "Apricot camera");
  EXPECT_THAT(cameras_->devicesWithMediaType("soun"), IsEmpty());
  EXPECT_EQ(cameras_->deviceWithUniqueID("nobody"), nullptr);
}

TEST_F(CameraListOnPipeWire, ACameraWithoutATitleIsCalledByItsName) {
  plugIn("plain", "title=");
  start();
  EXPECT_EQ(device("plain")->localizedName(), "plain");
}

TEST_F(CameraListOnPipeWire, TwoCamerasOfOneNameAreBothThere) {
  plugIn("twin", "title=First");
  plugIn("twin", "title=Second");
  start();
  EXPECT_THAT(names(), ElementsAre("twin", "twin#Second"));
  EXPECT_EQ(device("twin#Second")->localizedName(), "Second");
}

TEST_F(CameraListOnPipeWire, TellsOfPluggingAndUnpluggingAfterTheListHasChanged) {
  const auto desk = plugIn("desk");
  start();
  EXPECT_THAT(names(), ElementsAre("desk"));
  const auto late = plugIn("late");
  awaitNews(1);
  desk.ask("unplug");
  awaitNews(2);
  desk.ask("plug");
  awaitNews(3);
  EXPECT_THAT(news_, ElementsAre("connected: desk late", "disconnected: late", "connected: late desk"));
}

TEST_F(CameraListOnPipeWire, AQuickReplugIsSeenAsGoingAndComing) {
  const auto desk = plugIn("desk");
  start();
  EXPECT_THAT(names(), ElementsAre("desk"));
  desk.ask("unplug");
  desk.ask("plug");
  // The main loop has not turned meanwhile: what it has not been told of has not happened yet.
  EXPECT_THAT(names(), ElementsAre("desk"));
  awaitNews(2);
  EXPECT_THAT(news_, ElementsAre("disconnected:", "connected: desk"));
}

TEST_F(CameraListOnPipeWire, ADeviceThatWasUnpluggedGivesNoInput) {
  const auto desk = plugIn("desk");
  start();
  const auto gone = device("desk");
  desk.ask("unplug");
  awaitNews(1);
  std::optional<platform::NSError> error;
  EXPECT_EQ(cameras_->deviceInputWithDevice(gone, error), nullptr);
  ASSERT_TRUE(error);
  EXPECT_EQ(error->code, ENODEV);
}

TEST_F(CameraListOnPipeWire, WithoutPipeWireThereAreNoCamerasUntilItStarts) {
  plugIn("desk");
  pipewire("kill");
  start();
  EXPECT_THAT(names(), IsEmpty());
  // Nobody refuses anything: there is just no camera.
  EXPECT_EQ(cameras_->authorizationStatusForMediaType(platform::AVMediaTypeVideo),
            platform::AVAuthorizationStatus::Authorized);
  pipewire("start");
  awaitNews(1);
  EXPECT_THAT(news_, ElementsAre("connected: desk"));
}

TEST_F(CameraListOnPipeWire, CamerasGoAndComeBackWithTheDaemon) {
  plugIn("desk");
  plugIn("door");
  start();
  EXPECT_THAT(names(), ElementsAre("desk", "door"));
  pipewire("kill");
  awaitNews(2);
  EXPECT_THAT(names(), IsEmpty());
  pipewire("start");
  awaitNews(4);
  EXPECT_THAT(news_,
              ElementsAre("disconnected: door", "disconnected:", "connected: desk", "connected: desk door"));
}

TEST_F(CameraListOnPipeWire, ACameraIsThereAsLongAsItStatesAFormatOfUse) {
  const auto desk = plugIn("desk", "modes=none");
  plugIn("other");
  start();
  EXPECT_THAT(names(), ElementsAre("other"));
  desk.ask("modes MJPG:640x480@30");
  awaitNews(1);
  desk.ask("modes H264:640x480@30");
  awaitNews(2);
  desk.ask("modes H264:640x480@30+NV12:640x480@30");
  awaitNews(3);
  EXPECT_THAT(news_, ElementsAre("connected: desk other", "disconnected: other", "connected: desk other"));
}

TEST_F(CameraListOnPipeWire, NeverNamesASharedScreen) {
  plugIn("meta-screen-cast-src", "title=,property=media.role=");
  plugIn("shared", "property=media.role=Screen");
  plugIn("desk");
  start();
  EXPECT_THAT(names(), ElementsAre("desk"));
}

TEST_F(CameraListOnPipeWire, NamesThemByKindAndPriority) {
  plugIn("loopback", "title=OBS Virtual Camera");
  plugIn("infrared", "title=Integrated IR Camera");
  plugIn("second", "property=priority.session=500");
  plugIn("first", "property=priority.session=1000");
  start();
  EXPECT_THAT(names(), ElementsAre("first", "second", "infrared", "loopback"));
}

TEST_F(CameraListOnPipeWire, AccessIsGrantedAtOnce) {
  start();
  bool granted = false;
  cameras_->requestAccessForMediaType(platform::AVMediaTypeVideo, [&](bool answer) { granted = answer; });
  EXPECT_TRUE(granted);
}

}  // namespace
}  // namespace camera_test
