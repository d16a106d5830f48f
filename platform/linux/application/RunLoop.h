#pragma once

#include <memory>
#include <vector>

#include "platform/Foundation/NSTimer.h"

namespace platform_linux {

/// Timers on the GLib main loop. Main thread only.
class RunLoop : public platform::NSRunLoop {
 public:
  RunLoop();
  /// Ends all timers.
  ~RunLoop() override;

  std::shared_ptr<platform::NSTimer> addRepeatingTimer(std::chrono::milliseconds interval,
                                                       std::function<void()> action) override;

  /// The main loop has ended: no timer fires any more, also of those added later.
  void end();

 private:
  class Timer;

  std::vector<std::weak_ptr<Timer>> timers_;
  bool ended_ = false;
};

}  // namespace platform_linux
