#pragma once

#include <set>
#include <string>

#include "picture/Thumbnail.h"
#include "platform/UserNotifications/UNNotification.h"
#include "platform/linux/base/Handles.h"
#include "platform/linux/bus/NotificationActions.h"

namespace platform_linux {

/// Who is to show a notification.
enum class NotificationService { Shell, Helper };

/// The dictionary (a{sv}) that `org.gtk.Notifications` takes, with these keys:
///
/// - `title`, `body`: the body's first line, and the others where there are any; plain text
/// - `priority`: "normal"
/// - `default-action`: "app." and the application's action for a click on the notification itself
/// - `default-action-target`: the action's parameter
/// - `default-action-label`: the default action as a button, which shells ignore
/// - `buttons`: an array of dictionaries with `label`, `action` and `target`, from the content's category
///
/// - `icon`, for a shell only: the middle square of the photo, small, as a serialised icon of the bytes of a
///   PNG file
///
/// and, for the notification helper only:
///
/// - `sound`: "default"
/// - `image-data`: the photo, small, as the hint of that name of `org.freedesktop.Notifications`
///
/// Without the parameter's entry in the user info a click has nothing to act upon: there is no target, no
/// label and no button then, but still a default action, since a service without one starts the application
/// as from its menu.
[[nodiscard]] GVariantHandle notificationDictionary(
    const platform::UNMutableNotificationContent& content,
    const std::set<platform::UNNotificationCategory>& categories, const NotificationActions& actions,
    const std::string& defaultActionTitle, const picture::Thumbnail& thumbnail, NotificationService service);

}  // namespace platform_linux
