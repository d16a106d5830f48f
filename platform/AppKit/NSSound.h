#pragma once

namespace platform {

/// A sound ready to be played. Main thread only.
class NSSound {
 public:
  virtual ~NSSound() = default;

  /// Starts playing and returns at once; the sound plays to its end though this object is released. Without a
  /// sound server nothing is heard and nothing waits.
  virtual void play() = 0;
};

}  // namespace platform
