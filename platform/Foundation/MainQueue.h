#pragma once

#include <chrono>
#include <functional>

namespace platform {

/// An interface of ours: the main run loop's queue, and the hops of other threads onto it. Thread-safe.
class MainQueue {
 public:
  virtual ~MainQueue() = default;

  /// Runs `work` on a later turn of the main loop, first in first out; never inline.
  /// Work that has not started when the loop ends is dropped.
  virtual void async(std::function<void()> work) = 0;

  /// Runs `work` on the main thread and returns after it ran; inline when called there.
  /// Work that has not started when the loop ends is dropped and the caller released.
  virtual void sync(std::function<void()> work) = 0;

  /// Runs `work` on the main thread once `delay` has passed, a delay of zero included: never inline.
  /// Not cancellable; dropped when the loop ends first.
  virtual void after(std::chrono::milliseconds delay, std::function<void()> work) = 0;
};

}  // namespace platform
