#pragma once

#include <map>
#include <set>
#include <string>

#include "platform/UserNotifications/UNNotification.h"
#include "platform/linux/desktop/GioPointers.h"

namespace platform_linux {

/// What the application does when the user acts on a notification, since the action may have to start it
/// first.
struct NotificationActionMap {
  /// The application's action for each action identifier, UNNotificationDefaultActionIdentifier included.
  std::map<std::string, std::string> applicationActions;
  /// The entry of a notification's user info that the application's action gets as its parameter.
  std::string targetKey;
  /// What the default action is called by the services that show it as a button.
  std::string defaultActionTitle;
};

/// The dictionary (a{sv}) that `org.gtk.Notifications` takes, with these keys:
///  title, body            the body's first line, and the others where there are any; plain text
///  priority               "normal"
///  default-action         "app." and the application's action for a click on the notification itself
///  default-action-target  its parameter, a string
///  buttons                an array of dictionaries with label, action and target, from the content's
///  category
/// and these, which that service passes over and the notification helper knows:
///  default-action-label   the default action as a button
///  sound                  "default"
/// Without the target key in the user info a click has nothing to act upon: there is no target, no label and
/// no button then, but still a default action, since a service without one starts the application as from its
/// menu.
VariantPointer notificationDictionary(const platform::UNMutableNotificationContent& content,
                                      const std::set<platform::UNNotificationCategory>& categories,
                                      const NotificationActionMap& actions);

}  // namespace platform_linux
