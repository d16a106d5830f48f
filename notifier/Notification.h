#pragma once

#include <memory>
#include <string>
#include <vector>

#include "platform/linux/base/Handles.h"

namespace notifier {

/// What a click does: an action of the application, with its parameter.
struct Action {
  std::string key;    ///< what the desktop's service calls it
  std::string label;  ///< on the button
  std::string name;   ///< what the application calls it
  std::string target;
};

/// What the application wants to be shown.
struct Notification {
  std::string title;
  std::string body;  ///< plain text; may be empty
  std::vector<Action> actions;
  bool sound = false;
  /// The photo, small, as the hint `image-data`; null without.
  std::shared_ptr<GVariant> imageData;

  [[nodiscard]] const Action* actionFor(const std::string& key) const;
};

/// Reads a dictionary (a{sv}) with the keys of `org.gtk.Notifications`: `title`, `body`, `default-action`
/// with its target, `buttons`; and `default-action-label`, without which a click on the notification does
/// nothing, `sound` and `image-data`. Unknown keys, values of another type and actions that are not those of
/// clicks on notifications are ignored.
[[nodiscard]] Notification readNotification(GVariant* dictionary);

}  // namespace notifier
