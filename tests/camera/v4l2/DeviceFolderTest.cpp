#include <algorithm>
#include <fstream>
#include <iterator>
#include <set>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/linux/camera/v4l2/DeviceCalls.h"
#include "platform/linux/camera/v4l2/UdevDeviceFolder.h"
#include "tests/camera/v4l2/ManualLoop.h"
#include "tests/support/TemporaryFolder.h"

namespace camera_test {
namespace {

using platform_linux::DeviceEntry;
using platform_linux::DeviceFolder;
using platform_linux::devicePaths;
using platform_linux::KernelDeviceCalls;
using platform_linux::UdevDeviceFolder;
using testing::ElementsAre;
using testing::IsEmpty;

/// A folder of files that are called like devices.
struct DeviceFiles : testing::Test {
  std::string make(const std::string& name) {
    const std::ofstream file(folder / name);
    return folder / name;
  }

  test_support::TemporaryFolder folder;
};

TEST_F(DeviceFiles, ThoseOfVideoDevicesAreListedByNumber) {
  for (const auto* name : {"video10", "radio0", "video2", "video", "video2x", "v4l-subdev0"})
    make(name);
  EXPECT_THAT(devicePaths(folder.path()), ElementsAre(folder / "video2", folder / "video10"));
  std::vector<std::string> paths;
  const auto devices = UdevDeviceFolder(folder.path()).devices();
  std::transform(devices.begin(), devices.end(), std::back_inserter(paths), std::mem_fn(&DeviceEntry::path));
  EXPECT_EQ(paths, devicePaths(folder.path()));
}

TEST_F(DeviceFiles, NoneAreFoundOutsideOfTheFolder) {
  EXPECT_THAT(UdevDeviceFolder(folder.path()).devices(), IsEmpty());
  EXPECT_THAT(UdevDeviceFolder(folder / "nowhere").devices(), IsEmpty());
  EXPECT_FALSE(KernelDeviceCalls(folder.path()).areAllRefused());
}

TEST_F(DeviceFiles, ThatComeAndGoAreTold) {
  struct Recorder final : DeviceFolder::Client {
    void devicesChanged() override { ++changes; }
    void deviceGone(const std::string& path) override { gone.insert(path); }
    int changes = 0;
    std::set<std::string> gone;
  } told;
  ManualLoop loop;
  UdevDeviceFolder devices(folder.path());
  devices.follow(loop, told);
  make("radio0");
  loop.run();
  EXPECT_EQ(told.changes, 0);
  const std::string path = make("video0");
  loop.run();
  EXPECT_GT(told.changes, 0);
  std::filesystem::remove(path);
  loop.run();
  EXPECT_THAT(told.gone, ElementsAre(path));
}

}  // namespace
}  // namespace camera_test
