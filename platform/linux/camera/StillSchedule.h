#pragma once

#include <chrono>
#include <optional>

namespace platform_linux {

/// How long a camera's exposure and white balance are given to settle, from the first frame of a run. The
/// most frequent fault of a first photo is that it was taken too early and is dark; most cameras take up to
/// about a second.
inline constexpr std::chrono::seconds kExposureSettling{1};

/// How much earlier than its time a frame may come: the first one of a run is mostly a little late, and the
/// frame of the full second must not be passed over for that, which would cost the time of another one.
inline constexpr std::chrono::milliseconds kFrameJitter{5};

/// How long before that the exposure is looked at for the first time.
inline constexpr std::chrono::milliseconds kExposureLookout{200};

/// How much longer a still waits while they are seen to move.
inline constexpr std::chrono::seconds kExposurePatience{2};

/// How long a camera may send nothing usable before the waiting stills fail. Busy, stalled and broken devices
/// often say nothing at all; slow ones were seen to need two to three seconds for their first frame.
inline constexpr std::chrono::seconds kCameraSilence{5};

/// When a frame of a session may become a still, and when stills fail. Knows times only, no clock: each call
/// is told the time, which must not run backwards.
class StillSchedule {
 public:
  using Time = std::chrono::steady_clock::time_point;

  /// A new run of the camera: no frame yet. That it was silent is not forgotten before there is one.
  void restart();

  /// The run is another attempt, as the one before brought nothing.
  void startedAgain(Time now) { lastSettling_ = now; }
  /// The machine has stood still for that long: it is no time in which a frame could have come.
  void stoodStill(Time::duration time) {
    if (lastSettling_) *lastSettling_ += time;
  }
  /// A frame has arrived.
  void frameArrived(Time now);
  /// The last frame was a picture, but not one for a still, as the exposure is settling.
  void exposureMoves(Time now) { lastSettling_ = now; }

  /// Whether the run's frames may be stills: a second after the first, but for a frame's jitter.
  [[nodiscard]] bool hasSettled(Time now) const;
  /// Whether frames are worth examining: from shortly before they may be stills on, so that it is known by
  /// then whether the exposure moves.
  [[nodiscard]] bool isExposureWorthKnowing(Time now) const;
  /// Whether the run is so young that its exposure is looked at.
  [[nodiscard]] bool isYoung(Time now) const;

  /// When a still that was asked for at `since` is to fail.
  [[nodiscard]] Time deadline(Time since) const;
  /// A still has failed for want of a picture: until the next frame others fail at once.
  void fallSilent() { isSilent_ = true; }
  [[nodiscard]] bool isSilent() const { return isSilent_; }

 private:
  std::optional<Time> firstFrame_;
  // The last frame that came too early for a still, or sign of one to come.
  std::optional<Time> lastSettling_;
  bool isSilent_ = false;
};

}  // namespace platform_linux
