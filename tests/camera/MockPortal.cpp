#include "tests/camera/MockPortal.h"

#include <algorithm>
#include <stdexcept>
#include <unistd.h>
#include <utility>

#include <gio/gunixfdlist.h>

#include "tests/support/MainLoop.h"

namespace camera_test {
namespace {

using platform_linux::GDBusNodeInfoHandle;
using platform_linux::GErrorHandle;
using platform_linux::GObjectRef;
using platform_linux::GVariantHandle;

constexpr const char* kName = "org.freedesktop.portal.Desktop";
constexpr const char* kPath = "/org/freedesktop/portal/desktop";
constexpr const char* kCamera = "org.freedesktop.portal.Camera";

// Properties are read through their own interface here, so that a reading can be left unanswered too.
constexpr const char* kDescription = R"(<node>
  <interface name='org.freedesktop.portal.Camera'>
    <method name='AccessCamera'>
      <arg type='a{sv}' direction='in'/><arg type='o' direction='out'/>
    </method>
    <method name='OpenPipeWireRemote'>
      <arg type='a{sv}' direction='in'/><arg type='h' direction='out'/>
    </method>
    <property name='IsCameraPresent' type='b' access='read'/>
  </interface>
</node>)";

bool contains(const std::vector<std::string>& names, const std::string& name) {
  return std::find(names.begin(), names.end(), name) != names.end();
}

std::string tokenOf(GVariant* arguments) {
  const GVariantHandle options(g_variant_get_child_value(arguments, 0));
  const char* token = "";
  g_variant_lookup(options.get(), "handle_token", "&s", &token);
  return token;
}

}  // namespace

MockPortal::MockPortal(const std::string& address) : client_(address) {
  GErrorHandle fault;
  const GDBusNodeInfoHandle node(g_dbus_node_info_new_for_xml(kDescription, fault.out()));
  if (!node) throw std::runtime_error(fault.message());
  // Without functions for properties their reading arrives as a call.
  static constexpr GDBusInterfaceVTable kMethods{
      [](GDBusConnection*, const char* sender, const char*, const char*, const char* method,
         GVariant* arguments, GDBusMethodInvocation* invocation, gpointer self) noexcept {
        static_cast<MockPortal*>(self)->onCall(sender, method, arguments, invocation);
      },
      nullptr,
      nullptr,
      {}};
  registration_ = g_dbus_connection_register_object(client_.connection(), kPath, node->interfaces[0],
                                                    &kMethods, this, nullptr, nullptr);
  client_.ask("RequestName", g_variant_new("(su)", kName, 0U));
}

MockPortal::~MockPortal() {
  g_dbus_connection_unregister_object(client_.connection(), registration_);
}

int MockPortal::countOf(const std::string& method) const {
  return static_cast<int>(std::count(calls_.begin(), calls_.end(), method));
}

bool MockPortal::waitFor(const std::string& method, int count) const {
  return test_support::waitUntil([&] { return countOf(method) >= count; });
}

void MockPortal::setCameraPresent(bool present) {
  isCameraPresent_ = present;
  GVariantBuilder changed;
  g_variant_builder_init(&changed, G_VARIANT_TYPE_VARDICT);
  g_variant_builder_add(&changed, "{sv}", "IsCameraPresent", g_variant_new_boolean(present));
  g_dbus_connection_emit_signal(client_.connection(), nullptr, kPath, "org.freedesktop.DBus.Properties",
                                "PropertiesChanged", g_variant_new("(sa{sv}as)", kCamera, &changed, nullptr),
                                nullptr);
}

void MockPortal::respond(unsigned code) {
  emitResponse(client_.connection(), request_, code);
  client_.ask("GetId", nullptr);
}

std::string MockPortal::requestOf(std::string sender, const std::string& token) {
  sender.erase(0, 1);
  std::replace(sender.begin(), sender.end(), '.', '_');
  return std::string(kPath) + "/request/" + sender + "/" + token;
}

void MockPortal::emitResponse(GDBusConnection* from, const std::string& request, unsigned code) {
  g_dbus_connection_emit_signal(from, nullptr, request.c_str(), "org.freedesktop.portal.Request", "Response",
                                g_variant_new("(ua{sv})", code, nullptr), nullptr);
}

void MockPortal::onCall(const char* sender, const std::string& method, GVariant* arguments,
                        GDBusMethodInvocation* invocation) {
  calls_.push_back(method);
  if (method == "AccessCamera") request_ = requestOf(sender, tokenOf(arguments));
  if (contains(silent, method))
    unanswered_.push_back(GObjectRef<GDBusMethodInvocation>::adopt(invocation));
  else if (contains(failing, method))
    g_dbus_method_invocation_return_dbus_error(invocation, error.c_str(), "refused");
  else if (method == "AccessCamera")
    g_dbus_method_invocation_return_value(invocation, g_variant_new("(o)", request_.c_str()));
  else if (method == "OpenPipeWireRemote")
    returnRemote(invocation);
  else
    g_dbus_method_invocation_return_value(invocation,
                                          g_variant_new("(v)", g_variant_new_boolean(isCameraPresent_)));
}

void MockPortal::returnRemote(GDBusMethodInvocation* invocation) const {
  const int socket = openRemote();
  if (socket < 0) {
    g_dbus_method_invocation_return_dbus_error(invocation, "org.freedesktop.portal.Error.Failed",
                                               "no daemon");
    return;
  }
  const auto descriptors = GObjectRef<GUnixFDList>::adopt(g_unix_fd_list_new_from_array(&socket, 1));
  g_dbus_method_invocation_return_value_with_unix_fd_list(invocation, g_variant_new("(h)", 0),
                                                          descriptors.get());
}

}  // namespace camera_test
