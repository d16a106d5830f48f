#include "platform/linux/desktop/SettingsPortal.h"

#include <array>

namespace platform_linux {
namespace {

constexpr const char* kPortal = "org.freedesktop.portal.Desktop";
constexpr const char* kPortalPath = "/org/freedesktop/portal/desktop";
constexpr const char* kSettings = "org.freedesktop.portal.Settings";
constexpr std::chrono::milliseconds kPortalPatience{1000};

/// A question that the portal hands on to every backend, and whose answer is short.
SessionBus::Call readAppearance() {
  constexpr std::array<const char*, 2> kNamespaces{"org.freedesktop.appearance", nullptr};
  return {kPortal,        kPortalPath, kSettings, "ReadAll", g_variant_new("(^as)", kNamespaces.data()),
          kPortalPatience};
}

}  // namespace

SettingsPortal::SettingsPortal(const SessionBus& bus) : replies_(g_main_context_new()) {
  g_main_context_push_thread_default(replies_.get());
  bus.call(readAppearance(), [answer = answer_](GVariant*, const GError* error) {
    *answer = error && isLate(error) ? Answer::Late : Answer::InTime;
  });
  g_main_context_pop_thread_default(replies_.get());
}

bool SettingsPortal::answers() const {
  while (*answer_ == Answer::None)
    g_main_context_iteration(replies_.get(), TRUE);
  return *answer_ == Answer::InTime;
}

}  // namespace platform_linux
