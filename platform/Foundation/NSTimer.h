#pragma once

#include <chrono>
#include <functional>
#include <memory>

namespace platform {

/// A repeating timer of the main run loop. Main thread only.
class NSTimer {
 public:
  virtual ~NSTimer() = default;

  /// Stops the timer for good; its action is released and never runs again, not even when it is already due.
  virtual void invalidate() = 0;
};

/// The main thread's run loop. Main thread only.
class NSRunLoop {
 public:
  virtual ~NSRunLoop() = default;

  /// Adds a repeating timer in the common modes, so that it also fires while a menu or a window tracks
  /// events. It first fires after one `interval` and runs until invalidated or released, whichever comes
  /// first.
  virtual std::shared_ptr<NSTimer> addRepeatingTimer(std::chrono::milliseconds interval,
                                                     std::function<void()> action) = 0;
};

}  // namespace platform
