#pragma once

#include <chrono>
#include <optional>

namespace platform_linux {

/// How long a camera's exposure and white balance are given to settle, from the first frame of a session. The
/// most frequent fault of a first photo is that it was taken too early and is dark; cameras take up to about
/// a second.
inline constexpr std::chrono::seconds kExposureSettling{1};

/// How long a camera may send nothing usable before the waiting stills fail. Busy, stalled and broken devices
/// often say nothing at all; slow ones were seen to need two to three seconds for their first frame.
inline constexpr std::chrono::seconds kCameraSilence{5};

/// When a session's stills are answered, and when they fail. Knows times only, no clock: each call is told
/// the time, which must not run backwards.
class StillSchedule {
 public:
  using Time = std::chrono::steady_clock::time_point;

  /// A new run of the session: no frame yet, nothing waits.
  void restart() { *this = {}; }

  /// A still is asked for. False: it is to fail at once, as the camera has fallen silent and not come back.
  [[nodiscard]] bool request(Time now);

  /// A usable frame has arrived. True: all waiting stills are answered by it and wait no more.
  [[nodiscard]] bool frameArrived(Time now);

  /// When the waiting stills are to fail if nothing arrives; nothing while none waits.
  [[nodiscard]] std::optional<Time> deadline() const;

  /// True when the deadline has passed: all waiting stills fail and wait no more.
  [[nodiscard]] bool hasFallenSilent(Time now);

 private:
  std::optional<Time> firstFrame_;
  std::optional<Time> lastFrame_;
  std::optional<Time> waitingSince_;  // of the oldest still that waits
  bool silent_ = false;
};

}  // namespace platform_linux
