#pragma once

#include <memory>
#include <string>

#include "platform/linux/desktop/GioPointers.h"

namespace platform_linux {

/// What is to be shown, and on whose behalf.
struct OutgoingNotification {
  std::string applicationId;
  std::string identifier;
  VariantPointer dictionary;   ///< as notificationDictionary() makes it
  std::shared_ptr<void> hold;  ///< keeps the application from ending until the service has it
};

/// One notification on its way to the desktop: to `org.gtk.Notifications` where a shell offers that, which
/// starts the application on a click; everywhere else, or where the shell does not know the application, to
/// the notification helper,
/// `<application id>.Notifier`. Keeps itself alive until it has been handed over or has failed, which takes
/// kBusConnectionLimit and two to three times kBusCallLimit at most; only the hold ends sooner. Main thread
/// only.
class NotificationDelivery : public std::enable_shared_from_this<NotificationDelivery> {
 public:
  explicit NotificationDelivery(OutgoingNotification notification);

  void start();
  /// A later notification of the same identifier takes its place: it is not sent if it has not been yet.
  void supersede() { superseded_ = true; }

 private:
  void lookForShell(GDBusConnection* connection);
  void sendToShell(GDBusConnection* connection);
  void sendToHelper(GDBusConnection* connection);
  /// Floating.
  GVariant* arguments() const;

  const OutgoingNotification notification_;
  bool superseded_ = false;
};

}  // namespace platform_linux
