#include "platform/linux/notifications/NotificationDelivery.h"

#include <chrono>
#include <utility>

#include "platform/linux/bus/BusNames.h"

namespace platform_linux {
namespace {

/// How long a service may take: enough for one that has to be started from a cold disk first.
constexpr std::chrono::milliseconds kServicePatience{10000};

bool isTrue(GVariant* reply) {
  gboolean value = FALSE;
  if (hasType(reply, "(b)")) g_variant_get(reply, "(b)", &value);
  return value;
}

/// A call to the one object of a service, whose path and interface are named as the service is. `arguments`
/// floating.
SessionBus::Call serviceCall(const std::string& service, const std::string& method, GVariant* arguments) {
  return {service, objectPath(service), service, method, arguments, kServicePatience};
}

}  // namespace

NotificationDelivery::NotificationDelivery(const SessionBus& bus, OutgoingNotification notification)
    : bus_(bus), notification_(std::move(notification)) {}

void NotificationDelivery::start() {
  bus_.call(SessionBus::toBus("NameHasOwner", g_variant_new("(s)", kShellNotifications)),
            [self = shared_from_this()](GVariant* reply, const GError*) {
              if (self->superseded_) return;
              if (isTrue(reply))
                self->sendToShell();
              else
                self->sendToHelper();
            });
}

void NotificationDelivery::sendToShell() {
  bus_.call(serviceCall(kShellNotifications, "AddNotification", arguments(NotificationService::Shell)),
            [self = shared_from_this()](GVariant*, const GError* error) {
              if (!error) {
                if (self->notification_.playSound) self->notification_.playSound();
                return;
              }
              g_message("The shell does not take a notification: %s", error->message);
              if (!isLate(error) && !self->superseded_) self->sendToHelper();
            });
}

void NotificationDelivery::sendToHelper() {
  const std::string helper = notificationHelperName(notification_.applicationId);
  bus_.call(serviceCall(helper, "Post", arguments(NotificationService::Helper)),
            [self = shared_from_this()](GVariant*, const GError* error) {
              if (error) g_message("No notification is shown: %s", error->message);
            });
}

GVariant* NotificationDelivery::arguments(NotificationService service) const {
  const GVariantHandle dictionary = notification_.dictionary(service);
  return g_variant_new("(ss@a{sv})", notification_.applicationId.c_str(), notification_.identifier.c_str(),
                       dictionary.get());
}

}  // namespace platform_linux
