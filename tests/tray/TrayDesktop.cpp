#include "tests/tray/TrayDesktop.h"

#include <stdexcept>
#include <utility>

using platform_linux::ExportedInterface;
using platform_linux::GErrorHandle;
using platform_linux::GStringHandle;
using platform_linux::GVariantHandle;
using platform_linux::IncomingCall;

namespace {

constexpr const char* kWatcher = "org.kde.StatusNotifierWatcher";
constexpr const char* kWatcherDescription = R"xml(<node><interface name="org.kde.StatusNotifierWatcher">
  <method name="RegisterStatusNotifierItem"><arg name="service" type="s" direction="in"/></method>
</interface></node>)xml";
constexpr unsigned kPatienceSeconds = 10;

GDBusConnection* connectTo(GTestDBus* bus) {
  g_test_dbus_up(bus);
  GErrorHandle error;
  const auto flags = static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                                       G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION);
  GDBusConnection* const connection = g_dbus_connection_new_for_address_sync(
      g_test_dbus_get_bus_address(bus), flags, nullptr, nullptr, error.out());
  if (!connection) throw std::runtime_error("no connection to the test's bus: " + error.message());
  return connection;
}

}  // namespace

bool turnsUntil(const std::function<bool()>& condition) {
  bool late = false;
  const guint bound = g_timeout_add_seconds(
      kPatienceSeconds,
      [](gpointer flag) noexcept -> gboolean {
        *static_cast<bool*>(flag) = true;
        return G_SOURCE_CONTINUE;
      },
      &late);
  while (!condition() && !late)
    g_main_context_iteration(nullptr, TRUE);
  g_source_remove(bound);
  return condition();
}

TrayDesktop::TrayDesktop()
    : bus_(platform_linux::GObjectRef<GTestDBus>::adopt(g_test_dbus_new(G_TEST_DBUS_NONE))),
      connection_(platform_linux::GObjectRef<GDBusConnection>::adopt(connectTo(bus_.get()))) {}

TrayDesktop::~TrayDesktop() {
  watcher_.reset();
  g_dbus_connection_close_sync(connection_.get(), nullptr, nullptr);
  connection_ = {};
  g_test_dbus_stop(bus_.get());
}

void TrayDesktop::startTray() {
  watcher_ = std::make_unique<ExportedInterface>(
      connection_.get(), "/StatusNotifierWatcher", kWatcherDescription,
      ExportedInterface::Handlers{[this](IncomingCall call) {
                                    const char* service = nullptr;
                                    g_variant_get(call.arguments(), "(&s)", &service);
                                    registered.emplace_back(service);
                                    call.answer();
                                  },
                                  {}});
  call("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "RequestName",
       g_variant_new("(su)", kWatcher, 0U));
}

void TrayDesktop::stopTray() {
  call("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "ReleaseName",
       g_variant_new("(s)", kWatcher));
  watcher_.reset();
}

GVariantHandle TrayDesktop::call(const std::string& service, const char* path, const char* interface,
                                 const char* method, GVariant* arguments) {
  struct Outcome {
    bool done = false;
    GVariantHandle reply;
  } outcome;
  g_dbus_connection_call(
      connection_.get(), service.c_str(), path, interface, method, arguments, nullptr, G_DBUS_CALL_FLAGS_NONE,
      static_cast<int>(kPatienceSeconds) * 500, nullptr,
      [](GObject* source, GAsyncResult* result, gpointer data) noexcept {
        auto* const waiting = static_cast<Outcome*>(data);
        waiting->reply.reset(g_dbus_connection_call_finish(G_DBUS_CONNECTION(source), result, nullptr));
        waiting->done = true;
      },
      &outcome);
  while (!outcome.done)
    g_main_context_iteration(nullptr, TRUE);
  return std::move(outcome.reply);
}

GVariantHandle TrayDesktop::property(const std::string& service, const char* path, const char* interface,
                                     const char* name) {
  const GVariantHandle reply =
      call(service, path, "org.freedesktop.DBus.Properties", "Get", g_variant_new("(ss)", interface, name));
  if (!reply) return nullptr;
  GVariant* value = nullptr;
  g_variant_get(reply.get(), "(v)", &value);
  return GVariantHandle(value);
}

void TrayDesktop::listen(const char* signal) {
  g_dbus_connection_signal_subscribe(
      connection_.get(), nullptr, nullptr, signal, nullptr, nullptr, G_DBUS_SIGNAL_FLAGS_NONE,
      [](GDBusConnection*, const char*, const char*, const char*, const char* name, GVariant* arguments,
         gpointer self) noexcept {
        const GStringHandle text(g_variant_print(arguments, FALSE));
        static_cast<TrayDesktop*>(self)->heard.push_back(std::string(name) + text.get());
      },
      this, nullptr);
}
