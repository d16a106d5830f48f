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
      "start-delay=500,drop=3,colorimetry=stated,idle=run,log=/l,dump=/d");
  EXPECT_EQ(spec.name, "desk");
  EXPECT_EQ(spec.title, "Desk camera");
  EXPECT_THAT(spec.modes, ElementsAre(Mode{PixelFormat::kYuy2, 640, 480, {30, 15}},
                                      Mode{PixelFormat::kRgb, 64, 32, {5}}));
  EXPECT_EQ(spec.tint, 0x10ff80U);
  EXPECT_EQ(spec.quality, 70);
  EXPECT_EQ(spec.noise, 12);
  EXPECT_EQ(spec.warmup, 10U);
  EXPECT_EQ(spec.startDelay, 500U);
  EXPECT_EQ(spec.drop, 3U);
  EXPECT_EQ(spec.colorimetry, Colorimetry::kStated);
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
  EXPECT_THAT(refusal("modes=H264:640x480@30"), HasSubstr("modes: no such picture format"));
  EXPECT_THAT(refusal("modes=YUY2:641x480@30"), HasSubstr("must be even"));
  EXPECT_THAT(refusal("modes=YUY2:640x480"), HasSubstr("not a number in range: ''"));
  EXPECT_THAT(refusal("modes=YUY2:640x480@0"), HasSubstr("'0'"));
  EXPECT_THAT(refusal("noise=128"), HasSubstr("noise: not a number in range"));
  EXPECT_THAT(refusal("fault=melt"), HasSubstr("no such fault"));
  EXPECT_THAT(refusal("fault=stall"), HasSubstr("fault: not a number"));
  EXPECT_THAT(refusal("fault=truncated:7-5"), HasSubstr("ends before it starts"));
  EXPECT_THAT(refusal("idle=sleep"), HasSubstr("idle is"));
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
