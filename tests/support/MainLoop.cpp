#include "tests/support/MainLoop.h"

#include <glib.h>

namespace test_support {

bool waitUntil(const std::function<bool()>& done, std::chrono::seconds limit) {
  bool late = false;
  const auto expire = [](gpointer flag) noexcept -> gboolean {
    *static_cast<bool*>(flag) = true;
    return G_SOURCE_CONTINUE;
  };
  const guint timer = g_timeout_add_seconds(static_cast<guint>(limit.count()), expire, &late);
  while (!done() && !late)
    g_main_context_iteration(nullptr, TRUE);
  g_source_remove(timer);
  return done();
}

}  // namespace test_support
