#include <vector>

#include <gtest/gtest.h>

#include "platform/linux/camera/CameraMode.h"

namespace camera_test {
namespace {

using platform_linux::CameraMode;
using platform_linux::FrameRate;
using platform_linux::highQualityMode;
using enum picture::PixelFormat;

CameraMode best(std::vector<CameraMode> modes) {
  return highQualityMode(modes).value();
}

TEST(HighQualityMode, OfNoModesIsNone) {
  EXPECT_FALSE(highQualityMode({}));
}

TEST(HighQualityMode, IsTheLargestThatIsSmooth) {
  const CameraMode small{MJPG, 640, 480, {60, 1}};
  const CameraMode large{MJPG, 1920, 1080, {24, 1}};
  const CameraMode slow{MJPG, 3840, 2160, {15, 1}};
  EXPECT_EQ(best({small, large, slow}), large);
}

TEST(HighQualityMode, OfASizeIsTheFastest) {
  const CameraMode slower{MJPG, 1280, 720, {30, 1}};
  const CameraMode faster{YUY2, 1280, 720, {60, 1}};
  EXPECT_EQ(best({slower, faster}), faster);
}

TEST(HighQualityMode, OfASizeAndRateIsTheCamerasOwnJpeg) {
  const CameraMode raw{YUY2, 1280, 720, {30, 1}};
  const CameraMode jpeg{MJPG, 1280, 720, {60, 2}};
  EXPECT_EQ(best({raw, jpeg}), jpeg);
}

TEST(HighQualityMode, KnowsFractions) {
  const CameraMode film{MJPG, 1920, 1080, {24000, 1001}};  // 23.976 frames a second
  const CameraMode television{MJPG, 1280, 720, {30000, 1001}};
  EXPECT_EQ(best({film, television}), television);
}

TEST(HighQualityMode, OfSlowModesIsTheLargestOfTheFastest) {
  const CameraMode large{YUY2, 3840, 2160, {5, 1}};
  const CameraMode medium{YUY2, 1280, 720, {15, 1}};
  const CameraMode small{YUY2, 640, 480, {15, 1}};
  EXPECT_EQ(best({small, large, medium}), medium);
}

TEST(HighQualityMode, TakesAnUnstatedRateForSmooth) {
  const CameraMode unstated{NV12, 1920, 1080, FrameRate{}};
  const CameraMode smooth{MJPG, 640, 480, {30, 1}};
  EXPECT_EQ(best({smooth, unstated}), unstated);
}

TEST(HighQualityMode, OfEqualsIsTheOneStatedFirst) {
  const CameraMode first{MJPG, 800, 600, {30, 1}};
  const CameraMode second{MJPG, 600, 800, {30, 1}};
  EXPECT_EQ(best({first, second}), first);
}

TEST(HighQualityMode, OfUncompressedOnesIsTheOneWithTheMostColour) {
  const auto mode = [](picture::PixelFormat format) { return CameraMode{format, 640, 480, {30, 1}}; };
  EXPECT_EQ(best({mode(GRAY8), mode(I420), mode(P010), mode(YVYU), mode(BGRx)}), mode(BGRx));
  EXPECT_EQ(best({mode(GRAY8), mode(I420), mode(P010), mode(YVYU)}), mode(YVYU));
  EXPECT_EQ(best({mode(GRAY8), mode(I420), mode(P010)}), mode(P010));
  EXPECT_EQ(best({mode(GRAY8), mode(RGB16)}), mode(RGB16));
}

TEST(HighQualityMode, OfEveryTwoFormatsIsTheSameWhicheverIsStatedFirst) {
  for (const auto a : picture::kAllPixelFormats)
    for (const auto b : picture::kAllPixelFormats)
      EXPECT_EQ(best({{a, 640, 480, {30, 1}}, {b, 640, 480, {30, 1}}}),
                best({{b, 640, 480, {30, 1}}, {a, 640, 480, {30, 1}}}));
}

TEST(HighQualityMode, IsGreyOnlyWhenThereIsNoColour) {
  const CameraMode grey{GRAY8, 1920, 1080, {60, 1}};
  const CameraMode deepGrey{GRAY16, 1920, 1080, {60, 1}};
  const CameraMode color{YUY2, 640, 480, {5, 1}};
  EXPECT_EQ(best({grey, color}), color);
  EXPECT_EQ(best({grey, deepGrey}), deepGrey);
}

}  // namespace
}  // namespace camera_test
