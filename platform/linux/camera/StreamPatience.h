#pragma once

#include <chrono>

namespace platform_linux {

/// How long a stream may say nothing before it is started anew. Most that stall say nothing of it: devices
/// that hang, systems that slept, sources that stop for good when the machine is too busy for a moment. The
/// next start brings most of them back. Knows times only, no clock: each call is told the time, which must
/// not run backwards.
class StreamPatience {
 public:
  using Time = std::chrono::steady_clock::time_point;

  /// Once pictures came: so many times what passed between the last two, so that a camera with long exposures
  /// is left alone, and no less than this, which is nothing that a busy machine brings about every day.
  static constexpr int kGapsOfAStall = 4;
  static constexpr std::chrono::seconds kStall{2};
  /// After the first picture, of which nobody knows how far it is to the next.
  static constexpr std::chrono::seconds kAfterTheFirst{5};
  /// Before it, at the first start and at a trial: longer than slow cameras need for it, and shorter than a
  /// still waits. A camera that has not begun then is given the next longer times at its next starts.
  static constexpr std::chrono::seconds kFirstStart{4};
  static constexpr std::chrono::seconds kNextStart{10};
  static constexpr std::chrono::seconds kLongest{40};

  /// A stream is opened; `isTrial`: in a mode that is tried once, as a better one was silent.
  void opened(Time now, bool isTrial);
  void frameArrived(Time now);
  /// The machine has stood still for that long, and the camera's side with it.
  void stoodStill(Time::duration time) { lastSign_ += time; }
  /// The stream that was opened last said nothing, and the next one is no trial.
  void wasInVain();

  /// Whether the stream has brought a picture.
  [[nodiscard]] bool hasBegun() const { return hasBegun_; }
  /// Whether the next stream is opened because starts were in vain.
  [[nodiscard]] bool isTriedAgain() const { return nextStart_ != kFirstStart; }
  /// When the stream has said nothing for too long.
  [[nodiscard]] Time end() const { return lastSign_ + patience_; }

 private:
  Time lastSign_;  // of life: the opening, or a picture
  Time::duration patience_{};
  bool hasBegun_ = false;
  std::chrono::seconds nextStart_ = kFirstStart;
};

}  // namespace platform_linux
