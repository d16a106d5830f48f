#pragma once

#include <functional>
#include <string>

#include "platform/linux/bus/DesktopCall.h"
#include "platform/linux/bus/ExportedInterface.h"
#include "platform/linux/bus/SessionBus.h"

namespace platform_linux {

/// The application's object on the session bus, by which the desktop starts it, opens files with it and
/// passes on clicks on its notifications. Main thread only.
class ApplicationInterface {
 public:
  /// Offers the object and joins the queue for the application's name `identifier`: the first process of the
  /// application is the one that is called, a later one takes over when it has gone. Waits for nothing; does
  /// nothing without a bus. `bus` outlives this; the calls come on turns of the main loop.
  ApplicationInterface(const SessionBus& bus, const std::string& identifier,
                       const std::function<void(DesktopCall)>& onCall);

 private:
  const ExportedInterface interface_;
};

}  // namespace platform_linux
