#include "platform/linux/camera/v4l2/UdevDeviceFolder.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <new>
#include <sys/inotify.h>
#include <unistd.h>
#include <utility>

#include "platform/linux/camera/v4l2/DeviceCalls.h"

namespace platform_linux {
namespace {

constexpr const char* kSubsystem = "video4linux";

std::string textOf(const char* text) {
  return text ? text : "";
}

std::string propertyOf(udev_device* device, const char* name) {
  return textOf(udev_device_get_property_value(device, name));
}

bool doesUdevRun() {
  std::error_code ignored;
  return std::filesystem::exists("/run/udev/control", ignored);
}

DeviceEntry entryOf(udev_device* device, unsigned number) {
  return {.path = textOf(udev_device_get_devnode(device)),
          .number = number,
          .instance = propertyOf(device, "USEC_INITIALIZED"),
          .systemPath = textOf(udev_device_get_syspath(device)),
          .busPath = propertyOf(device, "ID_PATH"),
          .busId = propertyOf(device, "ID_ID"),
          .databaseName = propertyOf(device, "ID_MODEL_FROM_DATABASE"),
          .encodedModel = propertyOf(device, "ID_MODEL_ENC"),
          .model = propertyOf(device, "ID_MODEL"),
          .product = propertyOf(device, "ID_V4L_PRODUCT")};
}

}  // namespace

UdevDeviceFolder::UdevDeviceFolder(std::filesystem::path folder)
    : path_(std::move(folder)), udev_(udev_new()) {
  if (!udev_) throw std::bad_alloc();
}

bool UdevDeviceFolder::isOurs(const std::string& path) const {
  return deviceNumber(path) && path_ / std::filesystem::path(path).filename() == path;
}

void UdevDeviceFolder::follow(CameraLoop& loop, Client& client) {
  client_ = &client;
  // Those of udev itself: its rules have run, the permissions are set.
  monitor_.reset(udev_monitor_new_from_netlink(udev_.get(), "udev"));
  if (monitor_ && udev_monitor_filter_add_match_subsystem_devtype(monitor_.get(), kSubsystem, nullptr) >= 0 &&
      udev_monitor_enable_receiving(monitor_.get()) >= 0) {
    monitorWatch_ = loop.watch(udev_monitor_get_fd(monitor_.get()), [this] { readMonitor(); });
  }
  folder_ = FileDescriptor(inotify_init1(IN_CLOEXEC | IN_NONBLOCK));
  if (folder_ && inotify_add_watch(folder_.get(), path_.c_str(), IN_CREATE | IN_DELETE | IN_ATTRIB) >= 0)
    folderWatch_ = loop.watch(folder_.get(), [this] { readFolder(); });
}

void UdevDeviceFolder::readMonitor() {
  const std::unique_ptr<udev_device, Release> device(udev_monitor_receive_device(monitor_.get()));
  if (!device) return;
  const std::string path = textOf(udev_device_get_devnode(device.get()));
  if (!isOurs(path)) return;
  if (textOf(udev_device_get_action(device.get())) == "remove") client_->deviceGone(path);
  client_->devicesChanged();
}

void UdevDeviceFolder::readFolder() {
  // The events of all files in the folder; few are of ours.
  alignas(inotify_event) std::array<char, 4096> bytes;
  bool hasChanged = false;
  for (ssize_t length = 0; (length = ::read(folder_.get(), bytes.data(), bytes.size())) > 0;) {
    for (std::size_t i = 0; i + sizeof(inotify_event) <= static_cast<std::size_t>(length);) {
      const auto* const event = reinterpret_cast<const inotify_event*>(bytes.data() + i);
      i += sizeof(inotify_event) + event->len;
      const std::string path = path_ / (event->len > 0 ? event->name : "");
      if (!deviceNumber(path)) continue;
      hasChanged = true;
      if ((event->mask & IN_DELETE) != 0) client_->deviceGone(path);
    }
  }
  if (hasChanged) client_->devicesChanged();
}

std::vector<DeviceEntry> UdevDeviceFolder::devices() {
  std::vector<DeviceEntry> devices;
  for (const std::string& path : devicePaths(path_)) {
    devices.emplace_back().path = path;
    devices.back().number = deviceNumber(path).value_or(0);
  }
  const bool isUdevThere = doesUdevRun();
  const std::unique_ptr<udev_enumerate, Release> enumeration(udev_enumerate_new(udev_.get()));
  if (!enumeration) return devices;
  udev_enumerate_add_match_subsystem(enumeration.get(), kSubsystem);
  udev_enumerate_scan_devices(enumeration.get());
  for (auto* each = udev_enumerate_get_list_entry(enumeration.get()); each;
       each = udev_list_entry_get_next(each)) {
    const std::unique_ptr<udev_device, Release> device(
        udev_device_new_from_syspath(udev_.get(), udev_list_entry_get_name(each)));
    if (!device) continue;
    const auto found = std::find_if(devices.begin(), devices.end(), [&](auto& entry) {
      return entry.path == textOf(udev_device_get_devnode(device.get()));
    });
    if (found == devices.end()) continue;
    // Before its rules have run, udev does not know where the device is plugged; it will tell when it does.
    if (isUdevThere && udev_device_get_is_initialized(device.get()) == 0)
      devices.erase(found);
    else
      *found = entryOf(device.get(), found->number);
  }
  return devices;
}

}  // namespace platform_linux
