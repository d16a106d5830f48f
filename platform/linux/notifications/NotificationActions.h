#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>

#include "platform/UserNotifications/UNNotification.h"

namespace platform_linux {

/// What a click on a notification is on its way through the desktop: an action of the application with the
/// photo's path as its parameter, which the desktop can also give to an application that it has to start
/// first.
struct NotificationAction {
  const std::string_view identifier;  ///< the click, as UNNotificationResponse names it
  const char* const name;             ///< the application's action
};

inline constexpr std::array kNotificationActions{
    NotificationAction{"UNNotificationDefaultActionIdentifier", "show-photo"},
    NotificationAction{"OPEN_ACTION", "open-photo"},
};

/// The application's action for a click; null when there is none.
inline const char* applicationActionFor(std::string_view actionIdentifier) {
  for (const NotificationAction& action : kNotificationActions)
    if (action.identifier == actionIdentifier) return action.name;
  return nullptr;
}

/// The click that the application's action `name`, called with `path`, stands for; nothing when it stands for
/// none. Only one kind of notification can be clicked to an effect, so its identifier is known.
inline std::optional<platform::UNNotificationResponse> notificationResponseFor(std::string_view name,
                                                                               const std::string& path) {
  for (const NotificationAction& action : kNotificationActions) {
    if (action.name != name) continue;
    platform::UNNotificationResponse response;
    response.notification.request.identifier = "Photo_Taken_Notification";
    if (!path.empty()) response.notification.request.content.userInfo["Path"] = path;
    response.actionIdentifier = action.identifier;
    return response;
  }
  return std::nullopt;
}

}  // namespace platform_linux
