#include "tests/support/BusClient.h"

#include <chrono>
#include <stdexcept>

#include "tests/support/MainLoop.h"

namespace test_support {
namespace {

using platform_linux::GErrorHandle;
using platform_linux::GObjectRef;
using platform_linux::GVariantHandle;

constexpr int kPatienceMilliseconds = std::chrono::milliseconds(kPatience).count();

GDBusConnection* connectTo(const std::string& address) {
  GErrorHandle error;
  GDBusConnection* const connection = g_dbus_connection_new_for_address_sync(
      address.c_str(),
      static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                        G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
      nullptr, nullptr, error.out());
  if (!connection) throw std::runtime_error("no connection to the test's bus: " + error.message());
  return connection;
}

}  // namespace

BusClient::BusClient(const std::string& address)
    : connection_(GObjectRef<GDBusConnection>::adopt(connectTo(address))) {}

BusClient::~BusClient() {
  g_dbus_connection_close_sync(connection_.get(), nullptr, nullptr);
}

GVariantHandle BusClient::ask(const char* method, GVariant* arguments) const {
  const GVariantHandle reply(g_dbus_connection_call_sync(
      connection(), "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", method,
      arguments, nullptr, G_DBUS_CALL_FLAGS_NONE, kPatienceMilliseconds, nullptr, nullptr));
  const bool hasValue = reply && g_variant_n_children(reply.get()) > 0;
  return GVariantHandle(hasValue ? g_variant_get_child_value(reply.get(), 0) : nullptr);
}

bool BusClient::hasOwner(const std::string& name) const {
  const GVariantHandle owned = ask("NameHasOwner", g_variant_new("(s)", name.c_str()));
  return owned && g_variant_get_boolean(owned.get());
}

bool BusClient::waitUntilUnowned(const std::string& name) const {
  // Each change of the owner is a turn of the main loop, on which the question is put again.
  const guint changes = g_dbus_connection_signal_subscribe(
      connection(), "org.freedesktop.DBus", "org.freedesktop.DBus", "NameOwnerChanged",
      "/org/freedesktop/DBus", name.c_str(), G_DBUS_SIGNAL_FLAGS_NONE,
      [](GDBusConnection*, const char*, const char*, const char*, const char*, GVariant*, gpointer) noexcept {
      },
      nullptr, nullptr);
  const bool unowned = waitUntil([&] { return !hasOwner(name); });
  g_dbus_connection_signal_unsubscribe(connection(), changes);
  return unowned;
}

pid_t BusClient::processOf(const std::string& name) const {
  const GVariantHandle process = ask("GetConnectionUnixProcessID", g_variant_new("(s)", name.c_str()));
  return process ? static_cast<pid_t>(g_variant_get_uint32(process.get())) : 0;
}

}  // namespace test_support
