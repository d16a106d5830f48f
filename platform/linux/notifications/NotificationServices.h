#pragma once

#include <string>

#include "platform/linux/application/ApplicationInterface.h"
#include "platform/linux/bus/SessionBus.h"

namespace platform_linux {

/// The service of desktop shells that start an application for a click.
inline const std::string kShellNotifications = "org.gtk.Notifications";
/// The service of all other desktops, behind the notification helper.
inline const std::string kDesktopNotifications = "org.freedesktop.Notifications";

inline std::string notificationHelperName(const std::string& applicationId) {
  return applicationId + ".Notifier";
}

/// How long a service may take, in milliseconds: enough for one that has to be started from a cold disk
/// first.
inline constexpr int kServicePatience = 10000;

/// A call to the one object of a service, whose path and interface are named as the service is. `arguments`
/// floating.
inline SessionBus::Call serviceCall(const std::string& service, const std::string& method,
                                    GVariant* arguments) {
  return {service, applicationObjectPath(service), service, method, arguments, kServicePatience};
}

/// A call to the bus itself.
inline SessionBus::Call busCall(const std::string& method, GVariant* arguments) {
  return {"org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", method, arguments};
}

}  // namespace platform_linux
