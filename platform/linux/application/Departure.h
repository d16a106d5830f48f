#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/linux/bus/DesktopCall.h"
#include "platform/linux/bus/SessionBus.h"

namespace platform_linux {

/// How the program leaves without losing anything: it gives its names back to the bus, hands calls that still
/// came in under them on to whoever has the name then (the bus starts the program anew), waits for what must
/// not be cut off, and makes sure that everything it said has been sent. All of it on turns of the main loop.
/// Main thread only.
class Departure {
 public:
  /// `names` are given back in this order; the last is the one under which the desktop calls. `bus` outlives
  /// this.
  Departure(const SessionBus& bus, std::vector<std::string> names);
  ~Departure();

  /// Something that must not be cut off is under way for as long as any copy of the answer lives. Once the
  /// end has begun, it is waited for, for that long at most.
  std::shared_ptr<void> hold(std::chrono::milliseconds patience);

  /// Begins the end; `gone` runs when nothing is left to do, perhaps before this returns.
  void begin(std::function<void()> gone);

  /// Hands on a call that came after the end had begun. Its sender gets the new recipient's answer, for which
  /// ten seconds are allowed: a whole start of the program.
  void handOn(DesktopCall call);

 private:
  class Steps;

  /// Shared with replies and holds that may come when this object has gone.
  const std::shared_ptr<Steps> steps_;
};

}  // namespace platform_linux
