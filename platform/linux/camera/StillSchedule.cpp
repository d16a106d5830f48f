#include "platform/linux/camera/StillSchedule.h"

#include <algorithm>

namespace platform_linux {

bool StillSchedule::request(Time now) {
  if (silent_) return false;
  if (!waitingSince_) waitingSince_ = now;
  return true;
}

bool StillSchedule::frameArrived(Time now) {
  if (!firstFrame_) firstFrame_ = now;
  const bool answers = waitingSince_ && now - *firstFrame_ >= kExposureSettling;
  lastFrame_ = now;
  silent_ = false;
  if (answers) waitingSince_.reset();
  return answers;
}

std::optional<StillSchedule::Time> StillSchedule::deadline() const {
  if (!waitingSince_) return {};
  const Time quietSince = lastFrame_ ? std::max(*lastFrame_, *waitingSince_) : *waitingSince_;
  return quietSince + kCameraSilence;
}

bool StillSchedule::hasFallenSilent(Time now) {
  const auto limit = deadline();
  if (!limit || now < *limit) return false;
  silent_ = true;
  waitingSince_.reset();
  return true;
}

}  // namespace platform_linux
