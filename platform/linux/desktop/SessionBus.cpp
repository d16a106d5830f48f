#include "platform/linux/desktop/SessionBus.h"

#include <memory>
#include <utility>

namespace platform_linux {
namespace {

/// A connection under way. GIO has no limit of its own for a bus that lets nobody in.
struct Connecting {
  BusConnectionHandler handler;
  ObjectPointer<GCancellable> cancellable{g_cancellable_new()};
  guint timer = 0;
};

gboolean giveUpConnecting(gpointer data) noexcept {
  auto* const connecting = static_cast<Connecting*>(data);
  connecting->timer = 0;
  g_cancellable_cancel(connecting->cancellable.get());
  return G_SOURCE_REMOVE;
}

void onConnected(GObject*, GAsyncResult* result, gpointer data) noexcept {
  const std::unique_ptr<Connecting> connecting(static_cast<Connecting*>(data));
  if (connecting->timer) g_source_remove(connecting->timer);
  GError* rawError = nullptr;
  const ObjectPointer<GDBusConnection> connection(g_bus_get_finish(result, &rawError));
  const ErrorPointer error(rawError);
  if (connection) g_dbus_connection_set_exit_on_close(connection.get(), FALSE);
  connecting->handler(connection.get(), error.get());
}

void onReply(GObject* source, GAsyncResult* result, gpointer data) noexcept {
  const std::unique_ptr<BusReplyHandler> handler(static_cast<BusReplyHandler*>(data));
  GError* rawError = nullptr;
  const VariantPointer reply(g_dbus_connection_call_finish(G_DBUS_CONNECTION(source), result, &rawError));
  const ErrorPointer error(rawError);
  (*handler)(reply.get(), error.get());
}

}  // namespace

void connectToSessionBus(BusConnectionHandler handler) {
  auto connecting = std::make_unique<Connecting>();
  connecting->handler = std::move(handler);
  connecting->timer = g_timeout_add(kBusConnectionLimit.count(), giveUpConnecting, connecting.get());
  GCancellable* const cancellable = connecting->cancellable.get();
  g_bus_get(G_BUS_TYPE_SESSION, cancellable, onConnected, connecting.release());
}

void callBusMethod(GDBusConnection* connection, const BusMethod& method, GVariant* arguments,
                   const char* replyType, BusReplyHandler handler, std::chrono::milliseconds limit) {
  auto owned = std::make_unique<BusReplyHandler>(std::move(handler));
  g_dbus_connection_call(connection, method.busName.c_str(), method.objectPath.c_str(),
                         method.interfaceName.c_str(), method.method.c_str(), arguments,
                         G_VARIANT_TYPE(replyType), G_DBUS_CALL_FLAGS_NONE, static_cast<int>(limit.count()),
                         nullptr, onReply, owned.release());
}

BusMethod busDaemonMethod(const std::string& method) {
  return {"org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", method};
}

bool wasRefused(const GError* error) {
  return g_dbus_error_is_remote_error(error) && !g_error_matches(error, G_DBUS_ERROR, G_DBUS_ERROR_NO_REPLY);
}

}  // namespace platform_linux
