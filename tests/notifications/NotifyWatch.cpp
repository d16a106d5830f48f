#include "tests/notifications/NotifyWatch.h"

#include <array>
#include <stdexcept>

#include "tests/support/MainLoop.h"

namespace camera_shot_tests {

using test_support::waitUntil;

using platform_linux::GVariantHandle;

NotifyWatch::NotifyWatch(const std::string& address) : client_(address) {
  filter_ = g_dbus_connection_add_filter(
      client_.connection(),
      [](GDBusConnection* connection, GDBusMessage* message, gboolean incoming,
         gpointer self) noexcept -> GDBusMessage* {
        return incoming ? static_cast<NotifyWatch*>(self)->onMessage(connection, message) : message;
      },
      this, nullptr);
  const std::array<const char*, 2> rules{"type='method_return'", nullptr};
  const GVariantHandle reply(g_dbus_connection_call_sync(
      client_.connection(), "org.freedesktop.DBus", "/org/freedesktop/DBus",
      "org.freedesktop.DBus.Monitoring", "BecomeMonitor", g_variant_new("(^asu)", rules.data(), 0U), nullptr,
      G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr));
  if (!reply) throw std::runtime_error("the bus cannot be overheard");
}

NotifyWatch::~NotifyWatch() {
  g_dbus_connection_remove_filter(client_.connection(), filter_);
}

std::vector<std::uint32_t> NotifyWatch::waitForIds(std::size_t number) const {
  waitUntil([&] { return ids().size() >= number; });
  return ids();
}

std::vector<std::uint32_t> NotifyWatch::ids() const {
  const std::scoped_lock lock(mutex_);
  return ids_;
}

GDBusMessage* NotifyWatch::onMessage(GDBusConnection* connection, GDBusMessage* message) {
  const char* const sender = g_dbus_message_get_sender(message);
  const char* const receiver = g_dbus_message_get_destination(message);
  const char* const self = g_dbus_connection_get_unique_name(connection);
  if (!receiver || !self || g_str_equal(receiver, self)) return message;
  GVariant* const body = g_dbus_message_get_body(message);
  // On a private desktop nobody else answers with one number; the bus itself does.
  if (body && sender && !g_str_equal(sender, "org.freedesktop.DBus") &&
      g_variant_is_of_type(body, G_VARIANT_TYPE("(u)"))) {
    std::uint32_t id = 0;
    g_variant_get(body, "(u)", &id);
    const std::scoped_lock lock(mutex_);
    ids_.push_back(id);
  }
  // Others' messages go no further: the library would answer them.
  g_object_unref(message);
  g_main_context_wakeup(nullptr);
  return nullptr;
}

}  // namespace camera_shot_tests
