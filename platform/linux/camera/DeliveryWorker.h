#pragma once

#include <functional>

#include "platform/Foundation/MainQueue.h"
#include "platform/linux/base/Worker.h"

namespace platform_linux {

/// The thread on which photo delegates are called, one call after the other.
class DeliveryWorker {
 public:
  explicit DeliveryWorker(platform::MainQueue& mainQueue) : mainQueue_(mainQueue) {}

  /// Runs `call` on the worker and then lets it go, with all that it holds, on the main thread: a delegate
  /// may own what belongs there. Dropped once the worker was stopped. Thread-safe, never waits.
  ///
  /// `lowersPriority`: somebody watches the live picture, which must not stutter while a photo is coded: from
  /// this call on the worker, and the threads that it starts, have a lower priority (an unprivileged thread
  /// cannot go back).
  void deliver(std::function<void()> call, bool lowersPriority);

  /// Waits for the call under way, a photo that is being saved for instance, and drops the others. Calls that
  /// wait for the main thread must have been released by the end of its loop. Main thread only.
  void stop() { worker_.stop(); }

 private:
  platform::MainQueue& mainQueue_;
  Worker worker_;
};

}  // namespace platform_linux
