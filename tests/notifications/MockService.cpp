#include "tests/notifications/MockService.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

#include "platform/linux/bus/BusNames.h"
#include "tests/support/MainLoop.h"

namespace camera_shot_tests {

using test_support::waitUntil;

using platform_linux::GDBusNodeInfoHandle;
using platform_linux::GErrorHandle;
using platform_linux::GStringHandle;

MockService::MockService(const std::string& address, std::string name, const std::string& methods,
                         Answer answer, const std::string& interfaceName)
    : client_(address),
      name_(std::move(name)),
      interface_(interfaceName.empty() ? name_ : interfaceName),
      path_(platform_linux::objectPath(name_)),
      answer_(std::move(answer)) {
  const std::string xml = "<node><interface name='" + interface_ + "'>" + methods + "</interface></node>";
  GErrorHandle error;
  const GDBusNodeInfoHandle node(g_dbus_node_info_new_for_xml(xml.c_str(), error.out()));
  if (!node) throw std::runtime_error(error.message());
  static constexpr GDBusInterfaceVTable kMethods{
      [](GDBusConnection*, const char* sender, const char*, const char*, const char* method,
         GVariant* arguments, GDBusMethodInvocation* invocation, gpointer self) noexcept {
        static_cast<MockService*>(self)->onCall(sender, method, arguments, invocation);
      },
      [](GDBusConnection*, const char*, const char*, const char*, const char* property, GError**,
         gpointer self) noexcept {
        auto* const service = static_cast<MockService*>(self);
        ++service->propertyReads_;
        return g_variant_ref(service->properties_.at(property).get());
      },
      nullptr,
      {}};
  registration_ = g_dbus_connection_register_object(client_.connection(), path_.c_str(), node->interfaces[0],
                                                    &kMethods, this, nullptr, nullptr);
  client_.ask("RequestName", g_variant_new("(su)", name_.c_str(), 0U));
}

MockService::~MockService() {
  g_dbus_connection_unregister_object(client_.connection(), registration_);
}

std::vector<std::string> MockService::callsOf(const std::string& method) const {
  std::vector<std::string> found;
  for (const Call& call : calls_)
    if (call.method == method) found.push_back(call.arguments);
  return found;
}

bool MockService::waitForCalls(std::size_t number) const {
  return waitUntil([&] { return calls_.size() >= number; });
}

void MockService::setProperty(const std::string& name, GVariant* value) {
  properties_[name].reset(g_variant_ref_sink(value));
}

void MockService::emit(const char* signal, GVariant* arguments) const {
  g_dbus_connection_emit_signal(client_.connection(), nullptr, path_.c_str(), interface_.c_str(), signal,
                                arguments, nullptr);
}

std::string MockService::uniqueName() const {
  return g_dbus_connection_get_unique_name(client_.connection());
}

void MockService::onCall(const char* sender, const char* method, GVariant* arguments,
                         GDBusMethodInvocation* invocation) {
  const GStringHandle text(g_variant_print(arguments, FALSE));
  const Call call{method, text.get(), sender};
  calls_.push_back(call);
  try {
    if (GVariant* const reply = answer_(call))
      g_dbus_method_invocation_return_value(invocation, reply);
    else
      unanswered_.push_back(platform_linux::GObjectRef<GDBusMethodInvocation>::adopt(invocation));
  } catch (const std::runtime_error& error) {
    g_dbus_method_invocation_return_dbus_error(invocation, error.what(), "refused");
  }
}

}  // namespace camera_shot_tests
