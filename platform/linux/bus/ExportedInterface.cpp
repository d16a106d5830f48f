#include "platform/linux/bus/ExportedInterface.h"

#include <utility>

#include "platform/linux/bus/BusNames.h"

namespace platform_linux {
namespace {

using SharedHandlers = std::shared_ptr<const ExportedInterface::Handlers>;

void onMethodCall(GDBusConnection*, const char*, const char*, const char*, const char*, GVariant*,
                  GDBusMethodInvocation* invocation, gpointer data) noexcept {
  // A copy: the handler may destroy the interface.
  const SharedHandlers handlers = *static_cast<const SharedHandlers*>(data);
  handlers->call(IncomingCall(invocation));
}

GVariant* onPropertyRead(GDBusConnection*, const char*, const char*, const char*, const char* property,
                         GError**, gpointer data) noexcept {
  return (*static_cast<const SharedHandlers*>(data))->property(property);
}

constexpr GDBusInterfaceVTable kTable = {onMethodCall, onPropertyRead, nullptr, {}};

}  // namespace

ExportedInterface::ExportedInterface(GDBusConnection* connection, std::string path,
                                     const std::string& description, Handlers handlers)
    : connection_(connection),
      path_(std::move(path)),
      handlers_(std::make_shared<const Handlers>(std::move(handlers))) {
  const GDBusNodeInfoHandle node(g_dbus_node_info_new_for_xml(description.c_str(), nullptr));
  name_ = node->interfaces[0]->name;
  if (!connection_) return;
  registration_ = g_dbus_connection_register_object(
      connection_, path_.c_str(), node->interfaces[0], &kTable,
      std::make_unique<SharedHandlers>(handlers_).release(),
      [](gpointer data) noexcept { delete static_cast<SharedHandlers*>(data); }, nullptr);
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
  g_variant_builder_add(&changed, "{sv}", property, handlers_->property(property));
  GVariantBuilder invalidated;
  g_variant_builder_init(&invalidated, G_VARIANT_TYPE_STRING_ARRAY);
  g_dbus_connection_emit_signal(connection_, nullptr, path_.c_str(), kProperties, "PropertiesChanged",
                                g_variant_new("(sa{sv}as)", name_.c_str(), &changed, &invalidated), nullptr);
}

}  // namespace platform_linux
