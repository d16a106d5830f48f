#pragma once

#include <functional>
#include <memory>
#include <string>

#include "platform/linux/bus/SessionBus.h"
#include "platform/linux/notifications/NotificationMessage.h"

namespace platform_linux {

/// What is to be shown, and on whose behalf.
struct OutgoingNotification {
  std::string applicationId;
  std::string identifier;
  /// As notificationDictionary() makes it.
  std::function<GVariantHandle(NotificationService service)> dictionary;
  /// Run when the shell has taken it; the helper plays the sound itself. Empty for none.
  std::function<void()> playSound;
  /// Keeps the application from ending until the service has it.
  std::shared_ptr<void> hold;
};

/// One notification on its way to the desktop: to `org.gtk.Notifications` where a shell offers that, which
/// starts the application on a click; everywhere else, or where the shell refuses it, to the notification
/// helper, `<application id>.Notifier`. Keeps itself alive until it has been handed over or has failed, which
/// takes 21 seconds at most: one for the bus, and ten each for shell and helper. Main thread only.
class NotificationDelivery : public std::enable_shared_from_this<NotificationDelivery> {
 public:
  /// `bus` outlives the main loop's last turn.
  NotificationDelivery(const SessionBus& bus, OutgoingNotification notification);

  void start();
  /// A later notification of the same identifier takes its place: it is not sent if it has not been yet.
  void supersede() { superseded_ = true; }

 private:
  void sendToShell();
  void sendToHelper();
  /// Floating.
  [[nodiscard]] GVariant* arguments(NotificationService service) const;

  const SessionBus& bus_;
  const OutgoingNotification notification_;
  bool superseded_ = false;
};

}  // namespace platform_linux
