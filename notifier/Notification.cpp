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

/// Null unless there are as many bytes as the numbers say: services need not look.
std::shared_ptr<GVariant> imageDataOf(GVariant* dictionary) {
  std::shared_ptr<GVariant> image(
      g_variant_lookup_value(dictionary, "image-data", G_VARIANT_TYPE("(iiibiiay)")), [](GVariant* value) {
        if (value) g_variant_unref(value);
      });
  if (!image) return nullptr;
  constexpr int kLargestSide = 512;
  constexpr int kBitsPerChannel = 8;
  int width = 0;
  int height = 0;
  int rowBytes = 0;
  int bits = 0;
  int channels = 0;
  gboolean hasAlpha = FALSE;
  g_variant_get(image.get(), "(iiibii@ay)", &width, &height, &rowBytes, &hasAlpha, &bits, &channels, nullptr);
  const GVariantHandle bytes(g_variant_get_child_value(image.get(), 6));
  const bool isWhole =
      width > 0 && width <= kLargestSide && height > 0 && height <= kLargestSide && bits == kBitsPerChannel &&
      channels == (hasAlpha ? 4 : 3) && rowBytes == width * channels &&
      g_variant_n_children(bytes.get()) == static_cast<gsize>(rowBytes) * static_cast<gsize>(height);
  return isWhole ? image : nullptr;
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
  notification.imageData = imageDataOf(dictionary);
  addAction(notification,
            {kDefaultKey, textOf(dictionary, "default-action-label"), textOf(dictionary, "default-action"),
             textOf(dictionary, "default-action-target")});
  addButtons(notification, dictionary);
  return notification;
}

}  // namespace notifier
