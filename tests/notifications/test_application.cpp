// Stands for the application that the bus starts for a click: reports the first action that it is asked for
// to the test and ends.

#include <cstdlib>
#include <string>

#include "platform/linux/base/Handles.h"
#include "platform/linux/bus/BusNames.h"

using platform_linux::GDBusNodeInfoHandle;
using platform_linux::GMainLoopHandle;
using platform_linux::GObjectRef;
using platform_linux::GVariantHandle;

namespace {

constexpr const char* kInterface = R"(
<node>
  <interface name="org.freedesktop.Application">
    <method name="ActivateAction">
      <arg type="s" direction="in"/>
      <arg type="av" direction="in"/>
      <arg type="a{sv}" direction="in"/>
    </method>
  </interface>
</node>)";

void onAction(GDBusConnection* connection, const char*, const char*, const char*, const char*,
              GVariant* parameters, GDBusMethodInvocation* invocation, gpointer loop) noexcept {
  const platform_linux::GStringHandle text(g_variant_print(parameters, FALSE));
  const GVariantHandle reply(g_dbus_connection_call_sync(
      connection, "com.example.Journal", "/com/example/Journal", "com.example.Journal", "Write",
      g_variant_new("(s)", text.get()), nullptr, G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr));
  g_dbus_method_invocation_return_value(invocation, nullptr);
  g_dbus_connection_flush_sync(connection, nullptr, nullptr);
  g_main_loop_quit(static_cast<GMainLoop*>(loop));
}

}  // namespace

int main(int count, char** arguments) {
  const std::string name = count > 1 ? arguments[1] : "com.verrano.quillo.CameraShot";
  const auto bus = GObjectRef<GDBusConnection>::adopt(g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, nullptr));
  if (!bus) return EXIT_FAILURE;
  const GMainLoopHandle loop(g_main_loop_new(nullptr, FALSE));
  const GDBusNodeInfoHandle node(g_dbus_node_info_new_for_xml(kInterface, nullptr));
  static constexpr GDBusInterfaceVTable kMethods{onAction, nullptr, nullptr, {}};
  g_dbus_connection_register_object(bus.get(), platform_linux::objectPath(name).c_str(), node->interfaces[0],
                                    &kMethods, loop.get(), nullptr, nullptr);
  const GVariantHandle owner(g_dbus_connection_call_sync(
      bus.get(), "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "RequestName",
      g_variant_new("(su)", name.c_str(), 0U), nullptr, G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr));
  g_main_loop_run(loop.get());
  return EXIT_SUCCESS;
}
