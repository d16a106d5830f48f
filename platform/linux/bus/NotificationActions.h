#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/UserNotifications/UNNotification.h"

namespace platform_linux {

/// How clicks on the application's notifications travel through the desktop: as actions of the application
/// with a text as their parameter, which the desktop can also give to an application that it has to start
/// first. The application states them.
struct NotificationActions {
  struct Action {
    std::string identifier;  ///< the click, as UNNotificationResponse names it
    std::string name;        ///< the application's action on the bus
  };

  std::vector<Action> actions;
  /// The entry of the user info that travels as the parameter: a file's absolute path.
  std::string userInfoKey;
  /// Of the notifications that can be clicked to an effect: the parameter does not say which it was.
  std::string requestIdentifier;

  /// The application's action for a click; null when there is none.
  [[nodiscard]] const std::string* nameFor(std::string_view actionIdentifier) const;
  /// What travels: the path as it is or, where it is no UTF-8, which is all that a bus takes, as a `file:`
  /// URI. Empty without the entry.
  [[nodiscard]] std::string targetFor(const std::map<std::string, std::string>& userInfo) const;
  /// The click that the application's action `name`, called with `target`, stands for; nothing when it stands
  /// for none.
  [[nodiscard]] std::optional<platform::UNNotificationResponse> responseFor(std::string_view name,
                                                                            const std::string& target) const;
};

}  // namespace platform_linux
