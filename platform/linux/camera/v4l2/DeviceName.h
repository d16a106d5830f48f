#pragma once

#include <string>
#include <vector>

namespace platform_linux {

/// A video device of the system, as it is known without opening it. Texts are empty where nobody states them.
struct DeviceEntry {
  std::string path;          ///< of the device file, such as /dev/video0
  unsigned number = 0;       ///< the one in its path
  std::string instance;      ///< another one after each plugging in, as far as the system tells
  std::string systemPath;    ///< below /sys
  std::string busPath;       ///< udev's ID_PATH: the socket in which it is plugged
  std::string busId;         ///< udev's ID_ID
  std::string databaseName;  ///< the model's name in udev's database of hardware
  std::string encodedModel;  ///< the model's name as the device states it, its spaces as \x20
  std::string model;         ///< the same with underscores
  std::string product;       ///< the name that the driver gives

  bool operator==(const DeviceEntry&) const = default;
};

/// The identity of a device's camera: the one that it has at the PipeWire daemon, so that a stored choice
/// stays when the cameras come another way. Session managers (WirePlumber 0.4 and 0.5, monitors/v4l2) name it
/// after the socket in which the device is plugged. `taken` are the identities of the cameras whose devices
/// have lower numbers; the second of one name ends in ".2".
[[nodiscard]] std::string deviceIdentity(const DeviceEntry& device, const std::vector<std::string>& taken);

/// For people: the node's `node.nick`. `card` is the name that the device gives itself when it is asked.
[[nodiscard]] std::string deviceTitle(const DeviceEntry& device, const std::string& card);

}  // namespace platform_linux
