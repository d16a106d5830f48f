#pragma once

#include <chrono>
#include <functional>
#include <string>

#include "notifier/Bubbles.h"
#include "platform/linux/bus/ExportedInterface.h"
#include "platform/linux/bus/SessionBus.h"

namespace notifier {

/// The program's object on the bus, and how long the program lives: until two seconds after its last bubble
/// has gone, or ten seconds if it is never used. It leaves without losing a notification: one that still
/// reaches it under its name keeps it alive, a later one makes the bus start it anew. Main thread only.
class Service {
 public:
  /// `onEnd` is called when there is nothing left to do: at once, on a later turn of the main loop, when the
  /// name has another owner and no notification has arrived. `bus` has a connection and outlives this.
  Service(const platform_linux::SessionBus& bus, std::string name, std::function<void()> onEnd);
  Service(const Service&) = delete;
  Service& operator=(const Service&) = delete;
  ~Service();

  /// Whether the bus has given it the name at any time.
  [[nodiscard]] bool hasHadName() const { return hasHadName_; }

 private:
  void requestName();
  void post(platform_linux::IncomingCall call);
  void onChange();
  void leaveAfter(std::chrono::milliseconds delay);
  void leave();

  const platform_linux::SessionBus& bus_;
  const std::string name_;
  const std::function<void()> onEnd_;
  Bubbles bubbles_;
  const platform_linux::ExportedInterface interface_;
  guint timer_ = 0;
  bool hasHadName_ = false;
};

}  // namespace notifier
