#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "platform/linux/camera/CameraMode.h"

namespace platform_linux {

/// What is known of one camera while it is plugged in.
struct Camera {
  std::string uniqueID;       ///< its identity, the same after each plugging in
  std::string localizedName;  ///< for people
  std::uint64_t serial = 0;   ///< of this plugging in: never used twice by its source, growing, not 0
  std::vector<CameraMode> modes;
};

}  // namespace platform_linux
