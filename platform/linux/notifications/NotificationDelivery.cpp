#include "platform/linux/notifications/NotificationDelivery.h"

#include <utility>

#include "platform/linux/desktop/SessionBus.h"
#include "platform/linux/notifications/NotificationServices.h"

namespace platform_linux {

NotificationDelivery::NotificationDelivery(OutgoingNotification notification)
    : notification_(std::move(notification)) {}

void NotificationDelivery::start() {
  connectToSessionBus([self = shared_from_this()](GDBusConnection* connection, const GError* error) {
    if (connection)
      self->lookForShell(connection);
    else
      g_message("No session bus for a notification: %s", error->message);
  });
}

void NotificationDelivery::lookForShell(GDBusConnection* connection) {
  const auto shared = std::shared_ptr<GDBusConnection>(shareObject(connection));
  callBusMethod(connection, busDaemonMethod("NameHasOwner"),
                g_variant_new("(s)", kShellNotifications.c_str()), "(b)",
                [self = shared_from_this(), shared](GVariant* reply, const GError*) {
                  gboolean owned = FALSE;
                  if (reply) g_variant_get(reply, "(b)", &owned);
                  if (self->superseded_) return;
                  if (owned)
                    self->sendToShell(shared.get());
                  else
                    self->sendToHelper(shared.get());
                });
}

void NotificationDelivery::sendToShell(GDBusConnection* connection) {
  const auto shared = std::shared_ptr<GDBusConnection>(shareObject(connection));
  callBusMethod(
      connection,
      {kShellNotifications, objectPathOf(kShellNotifications), kShellNotifications, "AddNotification"},
      arguments(), "()", [self = shared_from_this(), shared](GVariant*, const GError* error) {
        if (!error) return;
        g_message("The shell does not take a notification: %s", error->message);
        // A shell that is merely late may still show it.
        if (wasRefused(error) && !self->superseded_) self->sendToHelper(shared.get());
      });
}

void NotificationDelivery::sendToHelper(GDBusConnection* connection) {
  const std::string name = notificationHelperName(notification_.applicationId);
  callBusMethod(connection, {name, objectPathOf(name), name, "Post"}, arguments(), "()",
                [self = shared_from_this()](GVariant*, const GError* error) {
                  if (error) g_message("No notification is shown: %s", error->message);
                });
}

GVariant* NotificationDelivery::arguments() const {
  return g_variant_new("(ss@a{sv})", notification_.applicationId.c_str(), notification_.identifier.c_str(),
                       notification_.dictionary.get());
}

}  // namespace platform_linux
