#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "platform/linux/camera/CameraMode.h"

namespace platform_linux {

/// What is known of one camera while it is plugged in.
struct Camera {
  std::string name;          ///< its identity, the same after each plugging in: `node.name`
  std::string title;         ///< for people
  std::uint64_t serial = 0;  ///< `object.serial`: never used twice while the daemon lives, growing
  std::vector<CameraMode> modes;
};

}  // namespace platform_linux
