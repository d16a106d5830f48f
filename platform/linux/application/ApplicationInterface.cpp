#include "platform/linux/application/ApplicationInterface.h"

#include <algorithm>
#include <utility>

namespace platform_linux {

namespace {

/// As the desktop entry specification has it ("D-Bus Activation").
constexpr const char* kDescription = R"(<node><interface name="org.freedesktop.Application">
  <method name="Activate"><arg name="platform_data" type="a{sv}" direction="in"/></method>
  <method name="Open">
    <arg name="uris" type="as" direction="in"/><arg name="platform_data" type="a{sv}" direction="in"/>
  </method>
  <method name="ActivateAction">
    <arg name="action_name" type="s" direction="in"/><arg name="parameter" type="av" direction="in"/>
    <arg name="platform_data" type="a{sv}" direction="in"/>
  </method>
</interface></node>)";

using CallHandler = std::function<void(DesktopCall)>;

void onMethodCall(GDBusConnection*, const char*, const char*, const char*, const char*, GVariant*,
                  GDBusMethodInvocation* invocation, gpointer data) noexcept {
  if (auto call = DesktopCall::make(invocation)) (*static_cast<const CallHandler*>(data))(std::move(*call));
}

constexpr GDBusInterfaceVTable kMethods = {onMethodCall, nullptr, nullptr, {}};

guint exportObject(GDBusConnection* connection, const std::string& path, const CallHandler& onCall) {
  const GDBusNodeInfoHandle description(g_dbus_node_info_new_for_xml(kDescription, nullptr));
  // The handler is told about by its address and outlives the registration.
  return g_dbus_connection_register_object(connection, path.c_str(), description->interfaces[0], &kMethods,
                                           const_cast<CallHandler*>(&onCall), nullptr, nullptr);
}

}  // namespace

std::string applicationObjectPath(const std::string& identifier) {
  std::string path = "/" + identifier;
  std::replace(path.begin(), path.end(), '.', '/');
  std::replace(path.begin(), path.end(), '-', '_');
  return path;
}

ApplicationInterface::ApplicationInterface(const SessionBus& bus, const std::string& identifier,
                                           std::function<void(DesktopCall)> onCall)
    : bus_(bus), onCall_(std::move(onCall)) {
  if (!bus_.connection()) return;
  // The object first: the name brings the calls.
  registration_ = exportObject(bus_.connection(), applicationObjectPath(identifier), onCall_);
  bus_.call({"org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "RequestName",
             g_variant_new("(su)", identifier.c_str(), 0U)},
            [](GVariant*, const GError*) {});
}

ApplicationInterface::~ApplicationInterface() {
  if (registration_) g_dbus_connection_unregister_object(bus_.connection(), registration_);
}

}  // namespace platform_linux
