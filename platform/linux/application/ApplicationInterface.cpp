#include "platform/linux/application/ApplicationInterface.h"

#include <utility>

#include "platform/linux/bus/BusNames.h"

namespace platform_linux {

namespace {

/// What desktops call of an entry whose program the bus starts ("D-Bus Activation" in the desktop entries'
/// standard).
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

}  // namespace

ApplicationInterface::ApplicationInterface(const SessionBus& bus, const std::string& identifier,
                                           const std::function<void(DesktopCall)>& onCall)
    // The object first: the name brings the calls.
    : interface_(bus.connection(), objectPath(identifier), kDescription,
                 {[onCall](IncomingCall call) { onCall(DesktopCall(std::move(call))); }}) {
  if (!bus.connection()) return;
  bus.call(SessionBus::toBus("RequestName", g_variant_new("(su)", identifier.c_str(), 0U)),
           [](GVariant*, const GError*) {});
}

}  // namespace platform_linux
