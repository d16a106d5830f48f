#pragma once

#include <memory>

#include "platform/linux/bus/SessionBus.h"

namespace platform_linux {

/// Whether the desktop's portal answers for its settings, such as the dark style. The toolkit asks it when it
/// starts and waits for as long as that takes (libadwaita 1.2; in a sandbox GDK, too): with a portal whose
/// backend hangs half a minute and more, in which nothing else happens. Main thread only.
class SettingsPortal {
 public:
  /// Asks; one second is allowed from here on. What the bus has to start first is started.
  explicit SettingsPortal(const SessionBus& bus);

  /// Waits for the answer. True also without such a portal, or with one that refuses: that costs no time.
  [[nodiscard]] bool answers() const;

 private:
  struct GMainContextDeleter {
    void operator()(GMainContext* context) const { g_main_context_unref(context); }
  };
  enum class Answer { None, InTime, Late };

  /// Turned by `answers` alone, so that nothing else happens meanwhile.
  const std::unique_ptr<GMainContext, GMainContextDeleter> replies_;
  /// The reply may come when this has gone.
  const std::shared_ptr<Answer> answer_ = std::make_shared<Answer>(Answer::None);
};

}  // namespace platform_linux
