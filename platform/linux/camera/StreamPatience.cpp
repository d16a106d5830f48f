#include "platform/linux/camera/StreamPatience.h"

#include <algorithm>

namespace platform_linux {

void StreamPatience::opened(Time now, bool isTrial) {
  lastSign_ = now;
  hasBegun_ = false;
  patience_ = isTrial ? kFirstStart : nextStart_;
}

void StreamPatience::frameArrived(Time now) {
  const Time::duration gap = now - lastSign_;
  patience_ = hasBegun_ ? std::max<Time::duration>(kGapsOfAStall * gap, kStall) : kAfterTheFirst;
  lastSign_ = now;
  hasBegun_ = true;
  nextStart_ = kFirstStart;
}

void StreamPatience::wasInVain() {
  nextStart_ = isTriedAgain() ? std::min(2 * nextStart_, kLongest) : kNextStart;
}

}  // namespace platform_linux
