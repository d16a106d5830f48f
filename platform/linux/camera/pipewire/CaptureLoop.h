#pragma once

#include <chrono>
#include <functional>
#include <mutex>
#include <vector>

#include <pipewire/pipewire.h>

namespace platform_linux {

/// The thread on which everything of PipeWire happens. It sleeps while there is nothing to do.
class CaptureLoop {
 public:
  /// Starts the thread. Throws std::runtime_error when the system has no thread or descriptor left.
  CaptureLoop();
  CaptureLoop(const CaptureLoop&) = delete;
  CaptureLoop& operator=(const CaptureLoop&) = delete;
  ~CaptureLoop();

  /// Runs `task` on a later turn of the loop, first in first out; never inline. Dropped once the loop has
  /// stopped. Thread-safe.
  void post(std::function<void()> task);

  /// Ends the thread after the task it is in and drops the others. Not on the loop's thread. Afterwards the
  /// loop's objects may be destroyed from the calling thread.
  void stop() noexcept;

  /// For libpipewire; on the loop's thread only.
  [[nodiscard]] pw_loop* raw() const { return pw_thread_loop_get_loop(loop_); }

 private:
  void runTasks() noexcept;

  pw_thread_loop* loop_ = nullptr;  // owned
  spa_source* wakeUp_ = nullptr;    // owned by the loop, destroyed with it
  std::mutex mutex_;                // guards what follows
  std::vector<std::function<void()>> tasks_;
  bool stopped_ = false;
};

/// A timer of the loop. On the loop's thread only.
class LoopTimer {
 public:
  LoopTimer(CaptureLoop& loop, std::function<void()> action);
  LoopTimer(const LoopTimer&) = delete;
  LoopTimer& operator=(const LoopTimer&) = delete;
  ~LoopTimer();

  /// Runs the action once, `delay` from now, at once when that has passed; a later call replaces this one.
  void startOnce(std::chrono::nanoseconds delay) noexcept;
  void stop() noexcept;

 private:
  CaptureLoop& loop_;
  std::function<void()> action_;
  spa_source* source_;  // owned; empty when the system had no descriptor left: the timer then never fires
};

}  // namespace platform_linux
