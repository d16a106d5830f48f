#include "platform/linux/bus/NotificationActions.h"

#include <algorithm>

#include "platform/linux/base/Handles.h"
#include "platform/linux/bus/DesktopCall.h"

namespace platform_linux {

const std::string* NotificationActions::nameFor(std::string_view actionIdentifier) const {
  const auto found = std::ranges::find(actions, actionIdentifier, &Action::identifier);
  return found == actions.end() ? nullptr : &found->name;
}

std::string NotificationActions::targetFor(const std::map<std::string, std::string>& userInfo) const {
  const auto path = userInfo.find(userInfoKey);
  if (path == userInfo.end()) return {};
  if (g_utf8_validate(path->second.c_str(), -1, nullptr)) return path->second;
  const GStringHandle uri(g_filename_to_uri(path->second.c_str(), nullptr, nullptr));
  return uri ? uri.get() : "";
}

std::optional<platform::UNNotificationResponse> NotificationActions::responseFor(
    std::string_view name, const std::string& target) const {
  const auto found = std::ranges::find(actions, name, &Action::name);
  if (found == actions.end()) return std::nullopt;
  platform::UNNotificationResponse response;
  response.notification.request.identifier = requestIdentifier;
  if (!target.empty())
    response.notification.request.content.userInfo[userInfoKey] =
        target.starts_with("file:") ? localPath(target.c_str()) : target;
  response.actionIdentifier = found->identifier;
  return response;
}

}  // namespace platform_linux
