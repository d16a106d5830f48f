#include "platform/linux/camera/ModeChoice.h"

#include <cerrno>

namespace platform_linux {

std::optional<CameraMode> ModeChoice::best(const Camera& camera) {
  // What was plugged in again may be at another hub, and what has gone may have made room. Grabbers offer
  // what comes in at the moment.
  const bool isAnother = serial_ != camera.serial || offered_ != camera.modes;
  if (isAnother) areAllRefused_ = false;
  if (isAnother || left_.empty()) left_ = camera.modes;
  serial_ = camera.serial;
  offered_ = camera.modes;
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
