#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <optional>

#include "picture/Frame.h"

namespace platform_linux {

/// The means of a picture's channels, 0 to 255: how bright it is and in which light.
struct Exposure {
  double red = 0;
  double green = 0;
  double blue = 0;
  bool isBlank = false;  ///< nothing is to be seen: all black, or the green that zeros are in YUV
};

/// Measured on a small decode. Nothing when the frame is no whole picture. Thread-safe.
[[nodiscard]] std::optional<Exposure> exposureOf(const picture::Frame& frame);

/// Whether brightness and white balance still move from frame to frame. Compares over a tenth of a second:
/// long enough for cameras that adjust at every third frame only, short enough that a settled one is seen to
/// be. While nothing is to be seen, they have not begun: cameras and drivers send black or green until the
/// sensor runs.
///
/// A frame may be held up on its way, on a busy machine for a tenth of a second: between two frames no more
/// time has passed than as many of them take on average.
class ExposureTrend {
 public:
  using Time = std::chrono::steady_clock::time_point;

  /// One frame of a run: when it arrived, and how many came before it.
  struct Arrival {
    Time time;
    std::int64_t number = 0;
  };

  /// A new run of the camera.
  void restart() { *this = {}; }
  /// A frame of the run has arrived, measured or not.
  void frameArrived(Time time);
  [[nodiscard]] const Arrival& lastArrival() const { return last_; }
  void add(const Arrival& arrival, const Exposure& exposure);
  /// False until three frames have been measured, or two that are a tenth of a second apart.
  [[nodiscard]] bool hasSettled() const;
  /// The same of what is known at `now`: the last frame is no older than that tenth of a second.
  [[nodiscard]] bool hasSettledBy(Time now) const;

 private:
  struct Sample {
    Arrival arrival;
    Exposure exposure;
  };

  /// From one frame to a later one.
  [[nodiscard]] Time::duration between(const Sample& before, const Sample& after) const;

  std::optional<Time> first_;
  Arrival last_{{}, -1};
  // The first is the newest of those that are at least the window's length older than the last.
  std::deque<Sample> samples_;
};

}  // namespace platform_linux
