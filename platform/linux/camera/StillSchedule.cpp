#include "platform/linux/camera/StillSchedule.h"

#include <algorithm>

namespace platform_linux {

void StillSchedule::restart() {
  firstFrame_.reset();
  lastSettling_.reset();
}

void StillSchedule::frameArrived(Time now) {
  if (!firstFrame_) firstFrame_ = now;
  if (!hasSettled(now)) lastSettling_ = now;
  isSilent_ = false;
}

bool StillSchedule::hasSettled(Time now) const {
  return firstFrame_ && now - *firstFrame_ >= kExposureSettling - kFrameJitter;
}

bool StillSchedule::isExposureWorthKnowing(Time now) const {
  return firstFrame_ && now - *firstFrame_ >= kExposureSettling - kExposureLookout;
}

bool StillSchedule::isYoung(Time now) const {
  return firstFrame_ && now - *firstFrame_ < kExposureSettling + kExposurePatience;
}

StillSchedule::Time StillSchedule::deadline(Time since) const {
  const Time quietSince = lastSettling_ ? std::max(*lastSettling_, since) : since;
  // Runs that begin again and again, and never get old enough, do not put it off for ever.
  return std::min(quietSince + kCameraSilence,
                  since + kExposureSettling + kExposurePatience + kCameraSilence);
}

}  // namespace platform_linux
