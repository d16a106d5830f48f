#pragma once

#include <filesystem>
#include <libudev.h>
#include <memory>
#include <string>
#include <vector>

#include "platform/linux/base/FileDescriptor.h"
#include "platform/linux/camera/v4l2/DeviceFolder.h"

namespace platform_linux {

/// The devices in a folder, with what udev knows of them. Where udev does not run, as in most containers, the
/// folder itself is watched, and the kernel's names serve.
class UdevDeviceFolder final : public DeviceFolder {
 public:
  explicit UdevDeviceFolder(std::filesystem::path folder);

  void follow(CameraLoop& loop, Client& client) override;
  [[nodiscard]] std::vector<DeviceEntry> devices() override;

 private:
  struct Release {
    void operator()(udev* context) const { udev_unref(context); }
    void operator()(udev_device* device) const { udev_device_unref(device); }
    void operator()(udev_enumerate* enumeration) const { udev_enumerate_unref(enumeration); }
    void operator()(udev_monitor* monitor) const { udev_monitor_unref(monitor); }
  };

  [[nodiscard]] bool isOurs(const std::string& path) const;
  void readMonitor();
  void readFolder();

  const std::filesystem::path path_;
  const std::unique_ptr<udev, Release> udev_;
  Client* client_ = nullptr;
  std::unique_ptr<udev_monitor, Release> monitor_;
  FileDescriptor folder_;
  std::unique_ptr<CameraLoop::Watch> monitorWatch_;
  std::unique_ptr<CameraLoop::Watch> folderWatch_;
};

}  // namespace platform_linux
