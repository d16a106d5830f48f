#include "tests/tray/TrayDesktop.h"

#include <chrono>
#include <utility>

#include "tests/support/MainLoop.h"

using platform_linux::ExportedInterface;
using platform_linux::GStringHandle;
using platform_linux::GVariantHandle;
using platform_linux::IncomingCall;

namespace {

constexpr const char* kWatcher = "org.kde.StatusNotifierWatcher";
constexpr const char* kWatcherDescription = R"xml(<node><interface name="org.kde.StatusNotifierWatcher">
  <method name="RegisterStatusNotifierItem"><arg name="service" type="s" direction="in"/></method>
</interface></node>)xml";
}  // namespace

void TrayDesktop::startTray() {
  watcher_ = std::make_unique<ExportedInterface>(
      connection(), "/StatusNotifierWatcher", kWatcherDescription,
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
      connection(), service.c_str(), path, interface, method, arguments, nullptr, G_DBUS_CALL_FLAGS_NONE,
      std::chrono::milliseconds(test_support::kPatience).count() / 4, nullptr,
      [](GObject* source, GAsyncResult* result, gpointer data) noexcept {
        auto* const waiting = static_cast<Outcome*>(data);
        waiting->reply.reset(g_dbus_connection_call_finish(G_DBUS_CONNECTION(source), result, nullptr));
        waiting->done = true;
      },
      &outcome);
  test_support::waitUntil([&] { return outcome.done; });
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
      connection(), nullptr, nullptr, signal, nullptr, nullptr, G_DBUS_SIGNAL_FLAGS_NONE,
      [](GDBusConnection*, const char*, const char*, const char*, const char* name, GVariant* arguments,
         gpointer self) noexcept {
        const GStringHandle text(g_variant_print(arguments, FALSE));
        static_cast<TrayDesktop*>(self)->heard.push_back(std::string(name) + text.get());
      },
      this, nullptr);
}
