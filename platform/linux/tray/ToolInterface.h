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
  /// Both run on turns of the main loop, and may destroy this.
  struct Actions {
    std::function<void()> onClickMenuIcon;
    /// A click on a tool that the bus has started for it: launches the tool, as its settings say; false when
    /// it has been launched before.
    std::function<bool()> launch;
  };

  /// `bus` outlives this; without a bus nothing is offered. A click while the tool is starting or leaving is
  /// refused.
  ToolInterface(const SessionBus& bus, const std::string& identifier, Actions actions);

  /// 0: starting or leaving; 1: a normal run is under way. Listeners learn of a change.
  void setStatus(int status);

 private:
  void click(IncomingCall call) const;

  const Actions actions_;
  int status_ = 0;
  ExportedInterface interface_;
};

}  // namespace platform_linux
