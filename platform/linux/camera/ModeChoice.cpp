#include "platform/linux/camera/ModeChoice.h"

#include <algorithm>
#include <cerrno>
#include <functional>
#include <utility>

namespace platform_linux {
namespace {

bool isSamePicture(const CameraMode& a, const CameraMode& b) {
  return a.format == b.format && a.width == b.width && a.height == b.height;
}

}  // namespace

std::optional<CameraMode> ModeChoice::best(const Camera& camera) {
  // What was plugged in again may be at another hub, and what has gone may have made room. Grabbers offer
  // what comes in at the moment.
  if (serial_ != camera.serial || offered_ != camera.modes) *this = {};
  if (left_.empty()) left_ = camera.modes;
  serial_ = camera.serial;
  offered_ = camera.modes;
  auto choice = left_;
  if (isDetour_) std::erase_if(choice, [this](const CameraMode& mode) { return mode.pixels() >= silent_; });
  isDetour_ = isDetour_ && !choice.empty();
  const auto mode = highQualityMode(isDetour_ ? choice : left_);
  if (mode != last_) hasFailed_ = false;
  last_ = mode;
  return last_;
}

bool ModeChoice::refused(int error) {
  if (!last_) return false;
  if (error == EINVAL || error == ENOSPC)
    std::erase(left_, *last_);
  else if (error == ENOMEM || error == EPROTO || (error == EIO && std::exchange(hasFailed_, true)))
    std::erase_if(left_, [this](const CameraMode& mode) { return isSamePicture(mode, *last_); });
  else
    return false;
  areAllRefused_ = areAllRefused_ || left_.empty();
  return !areAllRefused_;
}

bool ModeChoice::hasSmaller() const {
  const auto bound = last_ ? std::min(silent_, last_->pixels()) : silent_;
  return std::any_of(left_.begin(), left_.end(),
                     [&](const CameraMode& mode) { return mode.pixels() < bound; });
}

void ModeChoice::silent() {
  isDetour_ = !isDetour_ && hasSmaller();
  if (last_) silent_ = std::min(silent_, last_->pixels());
}

}  // namespace platform_linux
