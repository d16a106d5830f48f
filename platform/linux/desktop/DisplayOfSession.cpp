#include "platform/linux/desktop/DisplayOfSession.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <string_view>

#include "platform/linux/bus/BusNames.h"

namespace platform_linux {
namespace {

constexpr const char* kUserManager = "org.freedesktop.systemd1";
constexpr const char* kUserManagerPath = "/org/freedesktop/systemd1";
constexpr const char* kManager = "org.freedesktop.systemd1.Manager";
constexpr std::array<std::string_view, 3> kOfDisplays{"WAYLAND_DISPLAY", "DISPLAY", "XAUTHORITY"};
/// What a bus sets for the programs that it starts (dbus-daemon(1)).
constexpr const char* kOfStartedByBus = "DBUS_STARTER_ADDRESS";

bool isSet(const char* variable) {
  const char* const value = std::getenv(variable);
  return value && *value != '\0';
}

/// The user manager's environment: texts such as "DISPLAY=:0"; null without one.
GVariantHandle environment(const SessionBus& bus) {
  if (!bus.connection()) return nullptr;
  const GVariantHandle reply(g_dbus_connection_call_sync(
      bus.connection(), kUserManager, kUserManagerPath, kProperties, "Get",
      g_variant_new("(ss)", kManager, "Environment"), G_VARIANT_TYPE("(v)"), G_DBUS_CALL_FLAGS_NO_AUTO_START,
      static_cast<int>(kBusPatience.count()), nullptr, nullptr));
  if (!reply) return nullptr;
  const GVariantHandle boxed(g_variant_get_child_value(reply.get(), 0));
  return GVariantHandle(g_variant_get_variant(boxed.get()));
}

}  // namespace

Variables displayOfSession(const SessionBus& bus) {
  if (!isSet(kOfStartedByBus) || isSet("WAYLAND_DISPLAY") || isSet("DISPLAY")) return {};
  const GVariantHandle texts = environment(bus);
  if (!hasType(texts.get(), "as")) return {};
  Variables found;
  GVariantIter each;
  g_variant_iter_init(&each, texts.get());
  const char* text = nullptr;
  while (g_variant_iter_next(&each, "&s", &text)) {
    const std::string_view line(text);
    const auto end = std::min(line.find('='), line.size());
    if (end < line.size() && std::ranges::find(kOfDisplays, line.substr(0, end)) != kOfDisplays.end())
      found.emplace_back(line.substr(0, end), line.substr(end + 1));
  }
  return found;
}

}  // namespace platform_linux
