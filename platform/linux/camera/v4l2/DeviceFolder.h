#pragma once

#include <string>
#include <vector>

#include "platform/linux/camera/CameraLoop.h"
#include "platform/linux/camera/v4l2/DeviceName.h"

namespace platform_linux {

/// The video devices that the system has, without opening any. On the loop's thread only.
class DeviceFolder {
 public:
  class Client {
   public:
    virtual ~Client() = default;
    /// Some device came, or another user may now use it.
    virtual void devicesChanged() = 0;
    /// The device of that path has gone. One that comes to the same path later is another.
    virtual void deviceGone(const std::string& path) = 0;
  };

  virtual ~DeviceFolder() = default;

  /// Tells `client` of changes from now on, as long as this lives.
  virtual void follow(CameraLoop& loop, Client& client) = 0;
  /// Those that are there now, by number.
  [[nodiscard]] virtual std::vector<DeviceEntry> devices() = 0;
};

}  // namespace platform_linux
