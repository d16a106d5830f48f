#include <cerrno>

#include "tests/camera/v4l2/DeviceFixture.h"

namespace camera_test {
namespace {

using picture::PixelFormat;
using platform_linux::CameraCensus;
using platform_linux::CameraMode;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

using DeviceList = DeviceFixture;

TEST_F(DeviceList, AMachineWithoutDevicesSaysSoAtOnce) {
  start();
  EXPECT_EQ(told_.census.state, CameraCensus::State::Complete);
  EXPECT_THAT(cameras(), IsEmpty());
}

TEST_F(DeviceList, BeforeEachDeviceIsAskedTheListIsSaidToBeUnderWay) {
  plug(0);
  plug(1);
  start();
  using State = CameraCensus::State;
  EXPECT_THAT(told_.states, ElementsAre(State::Gathering, State::Gathering, State::Complete));
  plug(2);
  folder_->changed();
  loop_.run();
  EXPECT_EQ(told_.states.back(), State::Complete);
  EXPECT_THAT(told_.states, SizeIs(4)) << "what comes later is news at once";
}

TEST_F(DeviceList, ACameraHasTheNameOfItsNodeAtTheDaemon) {
  plug(0);
  start();
  ASSERT_THAT(cameras(), SizeIs(1));
  EXPECT_EQ(cameras()[0].uniqueID, "v4l2_input.pci-0000_00_14.0-usb-0_1_1.0");
  EXPECT_EQ(cameras()[0].localizedName, "Desk camera");
}

TEST_F(DeviceList, OnlyDevicesThatDeliverPicturesAreCameras) {
  plug(0)->abilities = V4L2_CAP_META_CAPTURE | V4L2_CAP_STREAMING;
  plug(1)->abilities = V4L2_CAP_VIDEO_OUTPUT | V4L2_CAP_STREAMING;
  plug(2)->abilities = V4L2_CAP_VIDEO_M2M_MPLANE | V4L2_CAP_STREAMING;
  plug(3)->abilities = V4L2_CAP_VIDEO_CAPTURE | V4L2_CAP_READWRITE;
  plug(4)->abilities = V4L2_CAP_VIDEO_CAPTURE | V4L2_CAP_STREAMING | V4L2_CAP_IO_MC;
  start();
  EXPECT_THAT(cameras(), IsEmpty());
}

TEST_F(DeviceList, ACameraWithoutAUsableFormatIsLeftOut) {
  plug(0)->formats = {{.code = V4L2_PIX_FMT_H264, .description = "H.264"},
                      {.code = V4L2_PIX_FMT_SRGGB8, .description = "8-bit Bayer RGRG/GBGB"}};
  start();
  EXPECT_THAT(cameras(), IsEmpty());
  EXPECT_THAT(told_.census.notes, ElementsAre("Desk camera is not listed: it offers only what cannot be read "
                                              "here (8-bit Bayer RGRG/GBGB, H.264)"));
}

TEST_F(DeviceList, AFormatWithoutADescriptionIsNamedByItsCode) {
  plug(0)->formats = {{.code = V4L2_PIX_FMT_H264}};
  start();
  EXPECT_THAT(told_.census.notes, ElementsAre(HasSubstr("(H264)")));
}

TEST_F(DeviceList, NothingIsSaidOfDevicesThatAreNoCameras) {
  plug(0)->abilities = V4L2_CAP_META_CAPTURE | V4L2_CAP_STREAMING;
  plug(1)->formats.clear();
  start();
  EXPECT_THAT(cameras(), IsEmpty());
  EXPECT_THAT(told_.census.notes, ElementsAre("Desk camera is not listed: it offers no pictures"));
}

TEST_F(DeviceList, PartsOfAnImageProcessorAreNoCameras) {
  plug(0)->card = "Intel IPU6 ISYS Capture 0";
  plug(1)->driver = "atomisp-isp2";
  start();
  EXPECT_THAT(cameras(), IsEmpty());
}

TEST_F(DeviceList, TheDriverTellsALoopbackWhateverItIsCalled) {
  plug(0)->driver = "v4l2 loopback";
  plug(1);
  start();
  ASSERT_THAT(cameras(), SizeIs(2));
  EXPECT_EQ(cameras()[0].kind, platform_linux::CameraKind::Virtual);
  EXPECT_EQ(cameras()[1].kind, platform_linux::CameraKind::Colour);
}

TEST_F(DeviceList, TheTitleIsTheNodesWithNothingTwice) {
  plug(0);
  folder_->entries.at(0).product = "USB Camera: USB Camera";
  start();
  EXPECT_EQ(cameras().at(0).localizedName, "USB Camera");
}

TEST_F(DeviceList, ModesAreTheProductOfFormatsSizesAndRates) {
  plug(0)->formats = {
      {.code = V4L2_PIX_FMT_MJPEG, .sizes = {{1280, 720}, {640, 480}}, .intervals = {{1, 30}}},
      {.code = V4L2_PIX_FMT_H264},
      {.code = V4L2_PIX_FMT_YUYV, .sizes = {{640, 480}}, .intervals = {{1, 30}, {2, 15}}}};
  start();
  EXPECT_THAT(cameras().at(0).modes, ElementsAre(CameraMode{PixelFormat::MJPG, 1280, 720, {30, 1}},
                                                 CameraMode{PixelFormat::MJPG, 640, 480, {30, 1}},
                                                 CameraMode{PixelFormat::YUY2, 640, 480, {30, 1}},
                                                 CameraMode{PixelFormat::YUY2, 640, 480, {15, 2}}));
}

TEST_F(DeviceList, OfRangesTheUpperEndsCountAndWhatTheDeviceIsSetTo) {
  plug(0)->formats = {
      {.sizes = {{640, 480}, {32, 32}, {2592, 1944}}, .intervals = {{1, 60}, {1, 1}}, .isRange = true}};
  start();
  EXPECT_THAT(cameras().at(0).modes, ElementsAre(CameraMode{PixelFormat::YUY2, 2592, 1944, {60, 1}},
                                                 CameraMode{PixelFormat::YUY2, 640, 480, {60, 1}}));
}

TEST_F(DeviceList, AnUpperEndThatMeansAnythingIsNoMode) {
  for (const std::uint32_t side : {65535, 8192})
    plug(static_cast<int>(side))->formats = {
        {.sizes = {{640, 480}, {side, side}}, .intervals = {{1, 1000}, {1, 1}}, .isRange = true}};
  start();
  for (const auto& camera : cameras())
    EXPECT_THAT(camera.modes, ElementsAre(CameraMode{PixelFormat::YUY2, 640, 480, {0, 1}}));
  EXPECT_EQ(cameras().size(), 2U);
}

TEST_F(DeviceList, ADriverThatListsNeitherSizesNorRatesHasTheModeToWhichItIsSet) {
  plug(0)->unknown = {VIDIOC_ENUM_FRAMESIZES, VIDIOC_ENUM_FRAMEINTERVALS};
  start();
  EXPECT_THAT(cameras().at(0).modes, ElementsAre(CameraMode{PixelFormat::YUY2, 4, 2, {0, 1}}));
}

TEST_F(DeviceList, AFormatWithABlockOfMemoryForEachPlaneIsTheSame) {
  const auto device = plug(0);
  device->abilities = V4L2_CAP_VIDEO_CAPTURE_MPLANE | V4L2_CAP_STREAMING;
  device->formats = {{.code = V4L2_PIX_FMT_NV12M}};
  start();
  EXPECT_THAT(cameras().at(0).modes, ElementsAre(CameraMode{PixelFormat::NV12, 4, 2, {30, 1}}));
}

TEST_F(DeviceList, CamerasInOneSocketAreCounted) {
  plug(0, "platform-vivid.0");
  plug(1, "platform-vivid.0")->abilities = V4L2_CAP_META_CAPTURE;
  plug(2, "platform-vivid.0");
  start();
  EXPECT_THAT(identities(), ElementsAre("v4l2_input.platform-vivid.0", "v4l2_input.platform-vivid.0.2"));
}

TEST_F(DeviceList, ACameraPluggedAgainHasItsNameAndIsAnother) {
  plug(0);
  start();
  const auto before = cameras().at(0);
  unplug(0);
  folder_->gone("/dev/video0");
  EXPECT_THAT(cameras(), IsEmpty());
  plug(0);
  folder_->changed();
  EXPECT_EQ(cameras().at(0).uniqueID, before.uniqueID);
  EXPECT_GT(cameras().at(0).serial, before.serial);
}

TEST_F(DeviceList, ACameraPluggedAgainUnnoticedIsAnother) {
  plug(0);
  start();
  const auto before = cameras().at(0);
  unplug(0);
  plug(0);
  folder_->changed();
  EXPECT_GT(cameras().at(0).serial, before.serial);
}

TEST_F(DeviceList, WhatStaysIsNotOpenedAgain) {
  plug(0);
  start();
  const auto before = cameras().at(0).serial;
  plug(1, "pci-0000:00:14.0-usb-0:2:1.0");
  folder_->changed();
  EXPECT_EQ(cameras().at(0).serial, before);
  EXPECT_THAT(cameras(), SizeIs(2));
}

TEST_F(DeviceList, WhereAllDevicesAreRefusedTheAccessSaysSo) {
  plug(0);
  calls_->refusals["/dev/video0"] = EACCES;
  start();
  EXPECT_THAT(cameras(), IsEmpty());
  EXPECT_EQ(source_.access().status(), platform::AVAuthorizationStatus::Denied);
  EXPECT_TRUE(source_.access().hidesCamera());

  calls_->refusals.clear();
  folder_->changed();
  EXPECT_THAT(cameras(), SizeIs(1));
  EXPECT_EQ(source_.access().status(), platform::AVAuthorizationStatus::Authorized);
}

TEST_F(DeviceList, ABusyDeviceIsListed) {
  plug(0)->occupy();
  start();
  EXPECT_THAT(cameras(), SizeIs(1));
}

TEST_F(DeviceList, ADeviceThatGoesWhileItIsExaminedIsLeftOut) {
  plug(0)->unplug();
  start();
  EXPECT_THAT(cameras(), IsEmpty());
  EXPECT_EQ(source_.access().status(), platform::AVAuthorizationStatus::Authorized);
}

}  // namespace
}  // namespace camera_test
