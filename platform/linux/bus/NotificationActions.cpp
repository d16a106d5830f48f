#include "platform/linux/bus/NotificationActions.h"

#include <algorithm>

namespace platform_linux {

const std::string* NotificationActions::nameFor(std::string_view actionIdentifier) const {
  const auto found = std::ranges::find(actions, actionIdentifier, &Action::identifier);
  return found == actions.end() ? nullptr : &found->name;
}

std::optional<platform::UNNotificationResponse> NotificationActions::responseFor(
    std::string_view name, const std::string& target) const {
  const auto found = std::ranges::find(actions, name, &Action::name);
  if (found == actions.end()) return std::nullopt;
  platform::UNNotificationResponse response;
  response.notification.request.identifier = requestIdentifier;
  if (!target.empty()) response.notification.request.content.userInfo[userInfoKey] = target;
  response.actionIdentifier = found->identifier;
  return response;
}

}  // namespace platform_linux
