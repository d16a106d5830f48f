#pragma once

#include <functional>
#include <string>

#include "platform/Foundation/NSBundle.h"
#include "platform/linux/bus/SessionBus.h"
#include "platform/linux/tray/StatusNotifierItem.h"
#include "platform/linux/tray/ToolInterface.h"

namespace platform_linux {

/// What can be asked of the tool from outside its windows. Run on the main thread.
struct ToolActions {
  std::function<void()> onClickMenuIcon;
  std::function<void()> onPreferences;
  std::function<void()> onQuit;
};

/// What the tool's presence needs of the application. Run on the main thread.
struct ToolPresenceHost {
  /// Launches an application that was started by the bus and waits for its first call; whether it did.
  std::function<bool()> launch;
  /// The activation token for the window that the next action shows.
  std::function<void(const std::string& token)> setActivationToken;
};

/// The tool as desktop and suite see it while it runs. Main thread only.
class ToolPresence {
 public:
  /// `bus` outlives this; `texts` is asked for words here and now.
  ToolPresence(const SessionBus& bus, const std::string& identifier, const platform::NSBundle& texts,
               const ToolActions& actions, const ToolPresenceHost& host);

  /// 0: starting or leaving; 1: a normal run is under way, and only then there is an icon.
  void setStatus(int status);

 private:
  StatusNotifierItem icon_;
  ToolInterface interface_;
};

}  // namespace platform_linux
