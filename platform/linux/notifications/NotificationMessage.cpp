#include "platform/linux/notifications/NotificationMessage.h"

#include <algorithm>

#include "platform/linux/base/GLibHandles.h"

namespace platform_linux {
namespace {

using platform::UNMutableNotificationContent;
using platform::UNNotificationAction;
using platform::UNNotificationCategory;

/// A dictionary in the making.
class Dictionary {
 public:
  Dictionary() { g_variant_builder_init(&builder_, G_VARIANT_TYPE_VARDICT); }
  Dictionary(const Dictionary&) = delete;
  Dictionary& operator=(const Dictionary&) = delete;
  ~Dictionary() { g_variant_builder_clear(&builder_); }

  void add(const char* key, GVariant* value) { g_variant_builder_add(&builder_, "{sv}", key, value); }
  void add(const char* key, const std::string& text) { add(key, g_variant_new_string(text.c_str())); }
  /// Floating.
  GVariant* end() { return g_variant_builder_end(&builder_); }

 private:
  GVariantBuilder builder_{};
};

/// The action as the services name it; empty where the application has none for the click.
std::string prefixedAction(const NotificationActions& actions, const std::string& identifier) {
  const std::string* const name = actions.nameFor(identifier);
  return name ? "app." + *name : std::string();
}

/// A bus takes nothing but UTF-8, which a file's name need not be.
std::string validText(const std::string& text) {
  const GStringHandle valid(g_utf8_make_valid(text.c_str(), -1));
  return valid.get();
}

void addTexts(Dictionary& dictionary, const std::string& body) {
  const auto endOfFirstLine = std::min(body.find('\n'), body.size());
  dictionary.add("title", validText(body.substr(0, endOfFirstLine)));
  if (endOfFirstLine < body.size()) dictionary.add("body", validText(body.substr(endOfFirstLine + 1)));
}

void addButtons(Dictionary& dictionary, const NotificationActions& actions,
                const UNNotificationCategory& category, const std::string& target) {
  GVariantBuilder buttons;
  g_variant_builder_init(&buttons, G_VARIANT_TYPE("aa{sv}"));
  for (const UNNotificationAction& action : category.actions) {
    const std::string name = prefixedAction(actions, action.identifier);
    if (name.empty()) continue;
    Dictionary button;
    button.add("label", validText(action.title));
    button.add("action", name);
    button.add("target", target);
    g_variant_builder_add_value(&buttons, button.end());
  }
  dictionary.add("buttons", g_variant_builder_end(&buttons));
}

}  // namespace

GVariantHandle notificationDictionary(const UNMutableNotificationContent& content,
                                      const std::set<UNNotificationCategory>& categories,
                                      const NotificationActions& actions,
                                      const std::string& defaultActionTitle, NotificationService service) {
  Dictionary dictionary;
  addTexts(dictionary, content.body);
  dictionary.add("priority", "normal");
  const std::string defaultAction = prefixedAction(actions, platform::UNNotificationDefaultActionIdentifier);
  if (!defaultAction.empty()) dictionary.add("default-action", defaultAction);
  const bool forHelper = service == NotificationService::Helper;
  if (forHelper && content.sound == platform::UNNotificationSound::DefaultSound)
    dictionary.add("sound", "default");

  const std::string target = actions.targetFor(content.userInfo);
  if (target.empty()) return GVariantHandle(g_variant_ref_sink(dictionary.end()));
  dictionary.add("default-action-target", target);
  dictionary.add("default-action-label", validText(defaultActionTitle));
  const auto category =
      std::ranges::find(categories, content.categoryIdentifier, &UNNotificationCategory::identifier);
  if (category != categories.end()) addButtons(dictionary, actions, *category, target);
  return GVariantHandle(g_variant_ref_sink(dictionary.end()));
}

}  // namespace platform_linux
