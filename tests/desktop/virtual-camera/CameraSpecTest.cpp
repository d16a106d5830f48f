#include <stdexcept>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/desktop/virtual-camera/CameraSpec.h"

namespace virtual_camera {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

std::string refusal(std::string_view text) {
  try {
    parseCameraSpec(text);
  } catch (const std::invalid_argument& error) {
    return error.what();
  }
  return {};
}

TEST(CameraSpec, HasTheModesOfACommonWebcamWhenNoneAreNamed) {
  const auto spec = parseCameraSpec("name=desk");
  EXPECT_EQ(spec.modes, commonModes());
  EXPECT_EQ(spec.modes.front(), (Mode{PixelFormat::kMjpg, 1280, 720, {30, 15}}));
}

TEST(CameraSpec, ReadsEveryKey) {
  const auto spec = parseCameraSpec(
      "name=desk,title=Desk "
      "camera,modes=YUY2:640x480@30/15+RGB:64x32@5,tint=10ff80,quality=70,noise=12,warmup=10,"
      "start-delay=500,drop=3,colorimetry=stated,idle=run,log=/l,dump=/"
      "d,exposure=2500,padding=16,memory=dmabuf,"
      "blocks=shared,lead=64,transform=flipped-90,device=usb-1,node-delay=1000");
  EXPECT_EQ(spec.name, "desk");
  EXPECT_EQ(spec.title, "Desk camera");
  EXPECT_THAT(spec.modes, ElementsAre(Mode{PixelFormat::kYuy2, 640, 480, {30, 15}},
                                      Mode{PixelFormat::kRgb, 64, 32, {5}}));
  EXPECT_EQ(spec.tint, 0x10ff80U);
  EXPECT_EQ(spec.jpeg.quality, 70);
  EXPECT_EQ(spec.noise, 12);
  EXPECT_EQ(spec.warmup, 10U);
  EXPECT_EQ(spec.startDelay, 500U);
  EXPECT_EQ(spec.drop, 3U);
  EXPECT_EQ(spec.colorimetry, Colorimetry{true});
  EXPECT_EQ(spec.exposure, 2500U);
  EXPECT_EQ(spec.padding, 16U);
  EXPECT_EQ(spec.memory, Memory::kDmaBuf);
  EXPECT_EQ(spec.blocks, Blocks::kShared);
  EXPECT_EQ(spec.lead, 64U);
  EXPECT_EQ(spec.transform, Transform::kFlipped90);
  EXPECT_EQ(spec.device, "usb-1");
  EXPECT_EQ(spec.nodeDelay, 1000U);
  EXPECT_EQ(spec.idle, Idle::kRun);
  EXPECT_EQ(spec.log, "/l");
  EXPECT_EQ(spec.dump, "/d");
}

TEST(CameraSpec, ReadsSeveralFaults) {
  const auto faults =
      parseCameraSpec("fault=stall:30,fault=truncated:5-7,fault=empty:9,fault=corrupted-flag:2,fault=busy")
          .faults;
  EXPECT_EQ(faults.stall, 30U);
  EXPECT_EQ(faults.error, std::nullopt);
  EXPECT_EQ(faults.truncated, (FrameRange{5, 7}));
  EXPECT_EQ(faults.empty, (FrameRange{9, FrameRange::kForever}));
  EXPECT_EQ(faults.corruptedFlag, (FrameRange{2, FrameRange::kForever}));
  EXPECT_TRUE(faults.busy);
}

TEST(CameraSpec, ReadsTheKindsOfStalls) {
  const auto faults = parseCameraSpec("fault=stall-once:3").faults;
  EXPECT_EQ(faults.stallOnce, 3U);
  EXPECT_EQ(faults.stall, std::nullopt);
}

TEST(CameraSpec, ReadsTheKindsOfBusyCameras) {
  EXPECT_FALSE(parseCameraSpec("fault=busy:5").faults.tellsBusy);
  const auto told = parseCameraSpec("fault=told-busy:5").faults;
  EXPECT_TRUE(told.busy && told.tellsBusy);
  EXPECT_EQ(told.busyFor, 5U);
  EXPECT_EQ(parseCameraSpec("fault=told-busy").faults.busyFor, std::nullopt);
}

TEST(CameraSpec, ReadsFaultsOfFramesAndOfTheirBuffers) {
  const auto faults = parseCameraSpec(
                          "fault=damaged:4/5,fault=busy:3000,fault=suspend:20,fault=black:0-3,"
                          "fault=offset-past-end:2-4,fault=time-backwards:1,fault=negative-stride,"
                          "fault=no-stride,fault=no-buffers,fault=silent-from:640")
                          .faults;
  EXPECT_TRUE(faults.damaged.contains(0));
  EXPECT_TRUE(faults.damaged.contains(3));
  EXPECT_FALSE(faults.damaged.contains(4));
  EXPECT_TRUE(faults.damaged.contains(5));
  EXPECT_TRUE(faults.busy);
  EXPECT_EQ(faults.busyFor, 3000U);
  EXPECT_EQ(faults.suspend, 20U);
  EXPECT_EQ(faults.black, (FrameRange{0, 3}));
  EXPECT_EQ(faults.offsetPastEnd, (FrameRange{2, 4}));
  EXPECT_EQ(faults.timeBackwards, (FrameRange{1, FrameRange::kForever}));
  EXPECT_TRUE(faults.negativeStride);
  EXPECT_TRUE(faults.noStride);
  EXPECT_TRUE(faults.noBuffers);
  EXPECT_EQ(faults.silentFrom, 640U);
}

TEST(CameraSpec, ReadsKindsOfJpeg) {
  const auto jpeg = parseCameraSpec(
                        "jpeg=420+progressive+restart:4+no-tables+stray:2+stray-end:1+zeros:3+rubbish:"
                        "4000+no-end+two-ends+late-height+before:7+orientation:6,quality=60")
                        .jpeg;
  EXPECT_EQ(jpeg,
            (JpegStyle{JpegStyle::Sampling::k420, 60, true, 4, true, 2, 1, 3, 4000, true, true, true, 7, 6}));
}

TEST(CameraSpec, ReadsColours) {
  using Matrix = Colorimetry::Matrix;
  using Range = Colorimetry::Range;
  EXPECT_EQ(parseCameraSpec("colorimetry=bt709-full").colorimetry,
            (Colorimetry{true, Matrix::kBt709, Range::kFull}));
  EXPECT_EQ(parseCameraSpec("colorimetry=unstated-bt2020-limited").colorimetry,
            (Colorimetry{false, Matrix::kBt2020, Range::kLimited}));
}

TEST(CameraSpec, ReadsPropertiesOfNodeAndDevice) {
  const auto spec =
      parseCameraSpec("property=device.api=v4l2,property=media.role=,device-property=device.devids=20736");
  EXPECT_EQ(spec.properties, (Properties{{"device.api", "v4l2"}, {"media.role", ""}}));
  EXPECT_EQ(spec.deviceProperties, (Properties{{"device.devids", "20736"}}));
}

TEST(CameraSpec, ReadsRangesOfSizesAndRates) {
  const auto modes = parseCameraSpec("modes=NV12:64x48..1920x1080%16@1..30+MJPG:641x481@30000:1001/0").modes;
  EXPECT_THAT(modes, ElementsAre(Mode{PixelFormat::kNv12, 64, 48, {1, 30}, SizeRange{1920, 1080, 16}, true},
                                 Mode{PixelFormat::kMjpg, 641, 481, {Rate(30000, 1001), 0}}));
}

TEST(CameraSpec, MayLeaveSizeAndRateUnstated) {
  EXPECT_THAT(parseModes("MJPG:unstated@unstated"), ElementsAre(Mode{PixelFormat::kMjpg, 0, 0, {}}));
}

TEST(CameraSpec, MayHaveNoModes) {
  EXPECT_THAT(parseCameraSpec("modes=none").modes, ElementsAre());
}

TEST(CameraSpec, KeepsCommasBehindABackslash) {
  EXPECT_EQ(parseCameraSpec(R"(title=Camera\, left \\ upper)").title, R"(Camera, left \ upper)");
}

TEST(CameraSpec, MayHaveNoTitle) {
  EXPECT_EQ(parseCameraSpec("title=").title, "");
}

TEST(CameraSpec, TakesModesFromPictures) {
  const auto spec = parseCameraSpec("picture=one.jpg,picture=two.jpg");
  EXPECT_THAT(spec.pictures, ElementsAre("one.jpg", "two.jpg"));
  EXPECT_THAT(spec.modes, ElementsAre());
}

TEST(CameraSpec, SaysWhatItDoesNotUnderstand) {
  EXPECT_THAT(refusal("colour=red"), HasSubstr("'colour=red'"));
  EXPECT_THAT(refusal("name"), HasSubstr("'name'"));
  EXPECT_THAT(refusal("name="), HasSubstr("needs a name"));
  EXPECT_THAT(refusal("modes=VP8:640x480@30"), HasSubstr("modes: no such picture format"));
  EXPECT_THAT(refusal("modes=YUY2:640x480"), HasSubstr("not a number in range: ''"));
  EXPECT_THAT(refusal("modes=YUY2:640x480@30:0"), HasSubstr("'0'"));
  EXPECT_THAT(refusal("noise=128"), HasSubstr("noise: not a number in range"));
  EXPECT_THAT(refusal("fault=melt"), HasSubstr("no such fault"));
  EXPECT_THAT(refusal("fault=stall"), HasSubstr("fault: not a number"));
  EXPECT_THAT(refusal("fault=truncated:7-5"), HasSubstr("ends before it starts"));
  EXPECT_THAT(refusal("fault=busy:soon"), HasSubstr("fault: not a number"));
  EXPECT_THAT(refusal("jpeg=wavelet"), HasSubstr("jpeg: no such kind of JPEG"));
  EXPECT_THAT(refusal("property=media.role"), HasSubstr("NAME=VALUE"));
  EXPECT_THAT(refusal("idle=sleep"), HasSubstr("one of pause, run is expected, not: 'sleep'"));
}

TEST(FrameRange, HoldsBothItsEnds) {
  const FrameRange range{5, 7};
  EXPECT_FALSE(range.contains(4));
  EXPECT_TRUE(range.contains(5));
  EXPECT_TRUE(range.contains(7));
  EXPECT_FALSE(range.contains(8));
  EXPECT_FALSE(FrameRange{}.contains(0));
}

}  // namespace
}  // namespace virtual_camera
