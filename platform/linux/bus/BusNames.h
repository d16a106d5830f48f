#pragma once

#include <string>

namespace platform_linux {

// The bus itself, and the interfaces that every object on it has.
inline constexpr const char* kBus = "org.freedesktop.DBus";
inline constexpr const char* kBusPath = "/org/freedesktop/DBus";
inline constexpr const char* kProperties = "org.freedesktop.DBus.Properties";

/// The interface by which the desktop starts applications and runs their actions.
inline constexpr const char* kApplicationInterface = "org.freedesktop.Application";

/// The notification service of desktop shells that start an application for a click.
inline constexpr const char* kShellNotifications = "org.gtk.Notifications";
/// The notification service of all other desktops, behind the notification helper.
inline constexpr const char* kDesktopNotifications = "org.freedesktop.Notifications";

/// The bus name of an application's notification helper.
[[nodiscard]] inline std::string notificationHelperName(const std::string& applicationId) {
  return applicationId + ".Notifier";
}

/// The path of the one object of an application or service: "com.example.My-App" has "/com/example/My_App".
[[nodiscard]] std::string objectPath(const std::string& busName);

}  // namespace platform_linux
