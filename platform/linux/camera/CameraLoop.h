#pragma once

#include <chrono>
#include <functional>
#include <memory>

namespace platform_linux {

/// How late a timer is when the machine has stood still meanwhile, frozen or held up by its host; on busy
/// ones it is late by some hundredths of a second. Whatever is waited for stood still, too.
inline constexpr std::chrono::milliseconds kStandstill{500};

/// The one thread on which cameras are listed, their frames arrive and sessions live. It sleeps while there
/// is nothing to do.
class CameraLoop {
 public:
  using Time = std::chrono::steady_clock::time_point;

  /// On the loop's thread only, like everything that is destroyed before the loop has ended.
  class Timer {
   public:
    virtual ~Timer() = default;
    /// Runs the action once, `delay` from now, on a later turn; a later call replaces this one.
    virtual void startOnce(std::chrono::nanoseconds delay) = 0;
    virtual void stop() = 0;
  };

  /// Watches a descriptor until it is destroyed, which may be inside its own call.
  class Watch {
   public:
    virtual ~Watch() = default;
  };

  virtual ~CameraLoop() = default;

  /// Runs `task` on a later turn of the loop, first in first out; never inline. Dropped once the loop has
  /// ended. Thread-safe.
  virtual void post(std::function<void()> task) = 0;

  /// Runs `last` as the loop's last task and returns after it; what else is posted is dropped. Not on the
  /// loop's thread. A second call does nothing.
  virtual void end(std::function<void()> last) = 0;

  // On the loop's thread only:

  [[nodiscard]] virtual Time now() const = 0;
  /// A timer whose system resources are used up never fires.
  [[nodiscard]] virtual std::unique_ptr<Timer> timer(std::function<void()> action) = 0;
  /// Runs `ready` as long as `descriptor` can be read, or has urgent data, failed or was closed at its other
  /// end (EPOLLIN, EPOLLPRI, EPOLLERR, EPOLLHUP). The descriptor stays the caller's and outlives the watch.
  [[nodiscard]] virtual std::unique_ptr<Watch> watch(int descriptor, std::function<void()> ready) = 0;
};

}  // namespace platform_linux
