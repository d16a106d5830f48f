#include "platform/linux/bus/ExportedInterface.h"

#include <utility>

#include "platform/linux/base/GLibHandles.h"

namespace platform_linux {
namespace {

using Handlers = ExportedInterface::Handlers;

void onMethodCall(GDBusConnection*, const char*, const char*, const char*, const char* method,
                  GVariant* arguments, GDBusMethodInvocation* invocation, gpointer data) noexcept {
  const ExportedInterface::Answer answer = static_cast<const Handlers*>(data)->call(method, arguments);
  g_dbus_method_invocation_return_value(invocation, answer.reply);
  // Last, on what the answer brought along: it may destroy the interface.
  if (answer.then) answer.then();
}

GVariant* onPropertyRead(GDBusConnection*, const char*, const char*, const char*, const char* property,
                         GError**, gpointer data) noexcept {
  return static_cast<const Handlers*>(data)->property(property);
}

constexpr GDBusInterfaceVTable kTable = {onMethodCall, onPropertyRead, nullptr, {}};

}  // namespace

ExportedInterface::ExportedInterface(GDBusConnection* connection, std::string path, const char* description,
                                     Handlers handlers)
    : connection_(connection), path_(std::move(path)), handlers_(std::move(handlers)) {
  const GDBusNodeInfoHandle node(g_dbus_node_info_new_for_xml(description, nullptr));
  name_ = node->interfaces[0]->name;
  if (!connection_) return;
  // The handlers are told about by their address and outlive the registration.
  registration_ = g_dbus_connection_register_object(connection_, path_.c_str(), node->interfaces[0], &kTable,
                                                    const_cast<Handlers*>(&handlers_), nullptr, nullptr);
}

ExportedInterface::~ExportedInterface() {
  if (registration_) g_dbus_connection_unregister_object(connection_, registration_);
}

void ExportedInterface::emit(const char* signal, GVariant* arguments) const {
  if (!registration_) return;
  g_dbus_connection_emit_signal(connection_, nullptr, path_.c_str(), name_.c_str(), signal, arguments,
                                nullptr);
}

void ExportedInterface::emitPropertyChanged(const char* property) const {
  if (!registration_) return;
  GVariantBuilder changed;
  g_variant_builder_init(&changed, G_VARIANT_TYPE_VARDICT);
  g_variant_builder_add(&changed, "{sv}", property, handlers_.property(property));
  GVariantBuilder invalidated;
  g_variant_builder_init(&invalidated, G_VARIANT_TYPE_STRING_ARRAY);
  g_dbus_connection_emit_signal(connection_, nullptr, path_.c_str(), "org.freedesktop.DBus.Properties",
                                "PropertiesChanged",
                                g_variant_new("(sa{sv}as)", name_.c_str(), &changed, &invalidated), nullptr);
}

}  // namespace platform_linux
