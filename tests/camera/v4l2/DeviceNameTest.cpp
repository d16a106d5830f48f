#include <gtest/gtest.h>

#include "platform/linux/camera/v4l2/DeviceName.h"

namespace camera_test {
namespace {

using platform_linux::DeviceEntry;
using platform_linux::deviceIdentity;
using platform_linux::deviceTitle;

TEST(DeviceName, IsThatOfTheSocketAsSessionManagersHaveIt) {
  DeviceEntry device;
  device.number = 4;
  EXPECT_EQ(deviceIdentity(device, {}), "v4l2_input.4");
  // Without udev the place in the system's tree serves, as at the daemon.
  device.systemPath = "/sys/devices/platform/vivid.0/video4linux/video4";
  EXPECT_EQ(deviceIdentity(device, {}), "v4l2_input._sys_devices_platform_vivid.0_video4linux_video4");
  device.busPath = "pci-0000:00:14.0-usb-0:8:1.0";
  EXPECT_EQ(deviceIdentity(device, {}), "v4l2_input.pci-0000_00_14.0-usb-0_8_1.0");
}

TEST(DeviceName, OfTheSecondInOneSocketEndsInItsNumber) {
  DeviceEntry device;
  device.busPath = "here";
  EXPECT_EQ(deviceIdentity(device, {"v4l2_input.here"}), "v4l2_input.here.2");
  EXPECT_EQ(deviceIdentity(device, {"v4l2_input.here", "v4l2_input.here.2"}), "v4l2_input.here.3");
}

TEST(DeviceName, ForPeopleIsTheBestThatIsKnown) {
  DeviceEntry device;
  EXPECT_EQ(deviceTitle(device, ""), "");
  EXPECT_EQ(deviceTitle(device, "Rig Webcam: Rig Webcam"), "Rig Webcam");
  device.product = "Product";
  EXPECT_EQ(deviceTitle(device, "Card"), "Product");
  device.model = "HD_Webcam";
  EXPECT_EQ(deviceTitle(device, "Card"), "HD_Webcam");
  device.encodedModel = R"(HD\x20Webcam\x3a\x20\xc3\xa9 )";
  EXPECT_EQ(deviceTitle(device, "Card"), "HD Webcam  \xc3\xa9");
  device.encodedModel = R"(half\x2)";
  EXPECT_EQ(deviceTitle(device, "Card"), R"(half\x2)");
  device.databaseName = "Webcam C270";
  EXPECT_EQ(deviceTitle(device, "Card"), "Webcam C270");
}

}  // namespace
}  // namespace camera_test
