#include <algorithm>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/linux/camera/Camera.h"

namespace camera_test {
namespace {

using platform_linux::Camera;
using platform_linux::CameraKind;
using platform_linux::cameraKind;
using platform_linux::CameraMode;
using platform_linux::comesBefore;
using testing::ElementsAre;

std::vector<std::string> inOrder(std::vector<Camera> cameras) {
  std::sort(cameras.begin(), cameras.end(), comesBefore);
  std::vector<std::string> identities;
  for (const auto& camera : cameras)
    identities.push_back(camera.uniqueID);
  return identities;
}

TEST(CameraOrder, IsByKindPriorityDeviceAndAge) {
  EXPECT_THAT(inOrder({{.uniqueID = "loopback", .serial = 1, .kind = CameraKind::Virtual, .priority = 2000},
                       {.uniqueID = "infrared", .serial = 2, .kind = CameraKind::Infrared, .priority = 1000},
                       {.uniqueID = "late", .serial = 9},
                       {.uniqueID = "early", .serial = 8},
                       {.uniqueID = "tenth", .serial = 3, .place = "/dev/video10"},
                       {.uniqueID = "second", .serial = 4, .place = "/dev/video2"},
                       {.uniqueID = "preferred", .serial = 5, .priority = 1000}}),
              ElementsAre("preferred", "second", "tenth", "early", "late", "infrared", "loopback"));
}

TEST(CameraKind, IsInfraredWhenNamedSoOrGrey) {
  const std::vector<CameraMode> grey{{picture::PixelFormat::GRAY8, 640, 360, {15, 1}}};
  const std::vector<CameraMode> colour{{picture::PixelFormat::YUY2, 640, 360, {30, 1}}};
  EXPECT_EQ(cameraKind("Integrated Camera", grey), CameraKind::Infrared);
  EXPECT_EQ(cameraKind("Integrated IR Camera", colour), CameraKind::Infrared);
  EXPECT_EQ(cameraKind("Camera: infrared", colour), CameraKind::Infrared);
  EXPECT_EQ(cameraKind("Windows Hello Face", colour), CameraKind::Infrared);
  EXPECT_EQ(cameraKind("AIRA Camera", colour), CameraKind::Colour) << "two letters of another word";
  EXPECT_EQ(cameraKind("Desk camera", {grey[0], colour[0]}), CameraKind::Colour);
  EXPECT_EQ(cameraKind("Desk camera", {}), CameraKind::Colour);
}

TEST(CameraKind, IsVirtualWhenALoopbackIsNamed) {
  EXPECT_EQ(cameraKind("Dummy video device (0x0000)", {}), CameraKind::Virtual);
  EXPECT_EQ(cameraKind("OBS Virtual Camera", {}), CameraKind::Virtual);
  EXPECT_EQ(cameraKind("Droidcam", {}), CameraKind::Virtual);
}

}  // namespace
}  // namespace camera_test
