#pragma once

#include <functional>
#include <string>

#include "platform/linux/bus/DesktopCall.h"
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
                       std::function<void(DesktopCall)> onCall);
  ApplicationInterface(const ApplicationInterface&) = delete;
  ApplicationInterface& operator=(const ApplicationInterface&) = delete;
  ~ApplicationInterface();

 private:
  const SessionBus& bus_;
  const std::function<void(DesktopCall)> onCall_;
  guint registration_ = 0;
};

/// The path of an application's object: "com.example.App" has "/com/example/App".
std::string applicationObjectPath(const std::string& identifier);

inline constexpr const char* kApplicationInterfaceName = "org.freedesktop.Application";

}  // namespace platform_linux
