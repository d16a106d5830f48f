#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

#include "platform/Foundation/MainQueue.h"

namespace platform_linux {

/// The thread on which photo delegates are called, one call after the other. It exists from the first call
/// on.
class DeliveryWorker {
 public:
  explicit DeliveryWorker(platform::MainQueue& mainQueue) : mainQueue_(mainQueue) {}
  DeliveryWorker(const DeliveryWorker&) = delete;
  DeliveryWorker& operator=(const DeliveryWorker&) = delete;
  ~DeliveryWorker() { stop(); }

  /// Runs `call` on the worker and then lets it go, with all that it holds, on the main thread: a delegate
  /// may own what belongs there. Dropped once the worker was stopped. Thread-safe, never waits.
  ///
  /// `givesWay`: somebody watches the live picture, which must not stutter while a photo is coded: from this
  /// call on the worker, and the threads that it starts, give way to others (an unprivileged thread cannot go
  /// back).
  void deliver(std::function<void()> call, bool givesWay);

  /// Waits for the call under way, a photo that is being saved for instance, and drops the others. Calls that
  /// wait for the main thread must have been released by the end of its loop. Main thread only.
  void stop();

 private:
  struct Call {
    std::function<void()> work;
    bool givesWay;
  };
  void run();

  platform::MainQueue& mainQueue_;
  std::mutex mutex_;  // guards what follows
  std::condition_variable changed_;
  std::deque<Call> calls_;
  bool isStopped_ = false;
  std::thread thread_;
};

}  // namespace platform_linux
