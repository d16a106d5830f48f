#pragma once

#include <cstdint>
#include <linux/videodev2.h>
#include <string>
#include <vector>

#include "platform/linux/camera/CameraMode.h"
#include "platform/linux/camera/v4l2/DeviceCalls.h"

namespace platform_linux {

/// What an open device says of itself.
struct DeviceAbilities {
  std::string card;        ///< the name that the driver gives, for people
  std::string driver;      ///< the driver's own name
  bool isCapture = false;  ///< it delivers pictures of the outside: neither metadata nor a converter
  bool isMultiPlanar = false;
};

/// ENODEV when it has just been unplugged, EINVAL when it is no video device; else 0, and `abilities` is
/// filled in.
[[nodiscard]] int readAbilities(DeviceFile& device, DeviceAbilities& abilities);

/// The kind of buffers in which the device delivers pictures.
[[nodiscard]] constexpr std::uint32_t captureType(bool isMultiPlanar) {
  return isMultiPlanar ? V4L2_BUF_TYPE_VIDEO_CAPTURE_MPLANE : V4L2_BUF_TYPE_VIDEO_CAPTURE;
}

/// A format that the device offers.
struct OfferedFormat {
  std::uint32_t code = 0;
  std::string name;  ///< for people
};

/// All formats that the device offers, its favourite first, those that it converts to by itself
/// left out (V4L2_FMT_FLAG_EMULATED).
[[nodiscard]] std::vector<OfferedFormat> readFormats(DeviceFile& device, std::uint32_t type);

/// All modes of formats that can be decoded here. Of a range of sizes or rates only what the device is set to
/// and the upper end count, of the latter nothing that is not a camera's.
[[nodiscard]] std::vector<CameraMode> readModes(DeviceFile& device, std::uint32_t type);

}  // namespace platform_linux
