#include "platform/linux/camera/ModeChoice.h"

#include <cerrno>
#include <utility>

namespace platform_linux {

std::optional<CameraMode> ModeChoice::best(const Camera& camera) {
  // What was plugged in again may be at another hub, and what has gone may have made room.
  const bool isAnother = std::exchange(serial_, camera.serial) != camera.serial;
  if (isAnother) areAllRefused_ = false;
  if (isAnother || left_.empty()) left_ = camera.modes;
  last_ = highQualityMode(left_);
  return last_;
}

bool ModeChoice::refused(int error) {
  if (!last_ || (error != EINVAL && error != ENOSPC)) return false;
  std::erase(left_, *last_);
  areAllRefused_ = areAllRefused_ || left_.empty();
  return !areAllRefused_;
}

}  // namespace platform_linux
