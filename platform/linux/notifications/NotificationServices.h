#pragma once

#include <string>

#include "platform/linux/desktop/SessionBus.h"

namespace platform_linux {

/// The service of desktop shells that start an application for a click.
inline const std::string kShellNotifications = "org.gtk.Notifications";
/// The service of all other desktops, behind the notification helper.
inline const std::string kDesktopNotifications = "org.freedesktop.Notifications";

inline std::string notificationHelperName(const std::string& applicationId) {
  return applicationId + ".Notifier";
}

/// The one object of a service that is named after it: its name with slashes for dots.
inline std::string objectPathOf(std::string busName) {
  for (char& character : busName)
    if (character == '.') character = '/';
  return "/" + busName;
}

}  // namespace platform_linux
