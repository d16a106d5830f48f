#include "notifier/Notification.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

#include "notifications/NotificationIdentifiers.h"

namespace notifier {
namespace {

using platform_linux::GVariantHandle;

/// In front of the names of an application's own actions.
constexpr std::string_view kApplicationPrefix = "app.";
/// The actions by which clicks on notifications reach the application. Nothing else may be asked of it in
/// this way, whoever posts.
const std::array kClicks{camera_shot::kShowPhotoClick, camera_shot::kOpenPhotoClick};
/// The key by which every service knows a click on the notification itself.
constexpr const char* kDefaultKey = "default";

std::string textOf(GVariant* dictionary, const char* key) {
  const char* text = "";
  g_variant_lookup(dictionary, key, "&s", &text);
  return text;
}

void addAction(Notification& notification, Action action) {
  if (!action.name.starts_with(kApplicationPrefix) || action.label.empty()) return;
  action.name.erase(0, kApplicationPrefix.size());
  if (std::ranges::find(kClicks, action.name) == kClicks.end()) return;
  notification.actions.push_back(std::move(action));
}

void addButtons(Notification& notification, GVariant* dictionary) {
  const GVariantHandle buttons(g_variant_lookup_value(dictionary, "buttons", G_VARIANT_TYPE("aa{sv}")));
  if (!buttons) return;
  for (gsize index = 0; index < g_variant_n_children(buttons.get()); ++index) {
    const GVariantHandle button(g_variant_get_child_value(buttons.get(), index));
    addAction(notification, {"button-" + std::to_string(index), textOf(button.get(), "label"),
                             textOf(button.get(), "action"), textOf(button.get(), "target")});
  }
}

}  // namespace

const Action* Notification::actionFor(const std::string& key) const {
  const auto found = std::ranges::find(actions, key, &Action::key);
  return found == actions.end() ? nullptr : &*found;
}

Notification readNotification(GVariant* dictionary) {
  Notification notification;
  notification.title = textOf(dictionary, "title");
  notification.body = textOf(dictionary, "body");
  notification.sound = textOf(dictionary, "sound") == "default";
  addAction(notification,
            {kDefaultKey, textOf(dictionary, "default-action-label"), textOf(dictionary, "default-action"),
             textOf(dictionary, "default-action-target")});
  addButtons(notification, dictionary);
  return notification;
}

}  // namespace notifier
