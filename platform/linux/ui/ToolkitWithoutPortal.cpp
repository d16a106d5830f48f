#include "platform/linux/ui/ToolkitWithoutPortal.h"

#include <cstdlib>
#include <filesystem>
#include <system_error>

namespace platform_linux {
namespace {

constexpr const char* kGdkSwitches = "GDK_DEBUG";
constexpr const char* kWithoutSettings = "default-settings";
/// What GDK takes for the sign of a sandbox.
constexpr const char* kSandboxInformation = "/.flatpak-info";

std::optional<std::string> variable(const char* name) {
  const char* const value = std::getenv(name);
  return value ? std::optional<std::string>(value) : std::nullopt;
}

/// GDK asks the portal in a sandbox only. Elsewhere the switch would cost the user's settings, too. (GTK 4.18
/// heeds it; 4.8 asks all the same.)
std::string gdkSwitches() {
  const std::string others = variable(kGdkSwitches).value_or("");
  std::error_code error;
  if (!std::filesystem::exists(kSandboxInformation, error)) return others;
  return others.empty() ? kWithoutSettings : others + "," + kWithoutSettings;
}

}  // namespace

ToolkitWithoutPortal::ToolkitWithoutPortal()
    : adwaita_("ADW_DISABLE_PORTAL", "1"), gdk_(kGdkSwitches, gdkSwitches()) {}

ToolkitWithoutPortal::Variable::Variable(const char* name, const std::string& value)
    : name_(name), before_(variable(name)) {
  ::setenv(name_, value.c_str(), 1);
}

ToolkitWithoutPortal::Variable::~Variable() {
  if (before_)
    ::setenv(name_, before_->c_str(), 1);
  else
    ::unsetenv(name_);
}

}  // namespace platform_linux
