#pragma once

#include <functional>
#include <string>

#include "platform/linux/bus/ExportedInterface.h"
#include "platform/linux/bus/SessionBus.h"

namespace platform_linux {

/// The suite's line to the tool, on the application's own object: the interface `com.verrano.quillo.Tool1`
/// with the property `Status` and the method `ClickMenuIcon`, for a menu or a panel of the suite that has the
/// tool's icon. Main thread only.
class ToolInterface {
 public:
  /// `bus` outlives this; without a bus nothing is offered. `onClickMenuIcon` runs on a turn of the main
  /// loop.
  ToolInterface(const SessionBus& bus, const std::string& identifier, std::function<void()> onClickMenuIcon);

  /// 0: starting or leaving; 1: a normal run is under way. Listeners learn of a change.
  void setStatus(int status);

 private:
  const std::function<void()> onClickMenuIcon_;
  int status_ = 0;
  ExportedInterface interface_;
};

}  // namespace platform_linux
