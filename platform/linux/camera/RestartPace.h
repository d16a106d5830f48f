#pragma once

#include <algorithm>
#include <chrono>
#include <utility>

namespace platform_linux {

/// The pauses before a stream that has ended is started again: none at first, then growing, so that a camera
/// that stays busy costs little; never so long that a user would wait for one that is free again.
class RestartPace {
 public:
  static constexpr std::chrono::milliseconds kShortest{50};
  static constexpr std::chrono::milliseconds kLongest{400};

  /// Frames come: the next end is the first one again.
  void reset() { next_ = std::chrono::milliseconds{0}; }
  /// The pause that is due now.
  std::chrono::milliseconds next() {
    return std::exchange(next_, std::clamp(next_ * 2, kShortest, kLongest));
  }

 private:
  std::chrono::milliseconds next_{0};
};

}  // namespace platform_linux
