#include "platform/linux/desktop/EventSoundSetting.h"

#include <memory>

#include <gio/gio.h>

#include "platform/linux/base/GLibHandles.h"

namespace platform_linux {
namespace {

constexpr const char* kSchema = "org.gnome.desktop.sound";
constexpr const char* kKey = "event-sounds";

struct SchemaDeleter {
  void operator()(GSettingsSchema* schema) const { g_settings_schema_unref(schema); }
};
using SchemaHandle = std::unique_ptr<GSettingsSchema, SchemaDeleter>;

}  // namespace

bool eventSoundsWanted() {
  GSettingsSchemaSource* const installed = g_settings_schema_source_get_default();
  if (!installed) return true;
  // Looked up first: a missing schema would end the program.
  const SchemaHandle schema(g_settings_schema_source_lookup(installed, kSchema, TRUE));
  if (!schema || !g_settings_schema_has_key(schema.get(), kKey)) return true;
  const GObjectHandle<GSettings> settings(g_settings_new_full(schema.get(), nullptr, nullptr));
  const GVariantHandle value(g_settings_get_value(settings.get(), kKey));
  return !g_variant_is_of_type(value.get(), G_VARIANT_TYPE_BOOLEAN) || g_variant_get_boolean(value.get());
}

}  // namespace platform_linux
