#pragma once

#include <chrono>
#include <functional>

#include <glib.h>

namespace application_tests {

/// Wakes the default main context once, after a time.
class Alarm {
 public:
  explicit Alarm(std::chrono::milliseconds time)
      : source_(g_timeout_add(static_cast<guint>(time.count()), &Alarm::ring, this)) {}
  Alarm(const Alarm&) = delete;
  Alarm& operator=(const Alarm&) = delete;
  ~Alarm() {
    if (!rung_) g_source_remove(source_);
  }
  bool rung() const { return rung_; }

 private:
  static gboolean ring(gpointer data) noexcept {
    static_cast<Alarm*>(data)->rung_ = true;
    return G_SOURCE_REMOVE;
  }

  bool rung_ = false;
  const guint source_;
};

/// Turns the default main context until `done` answers true, ten seconds at most.
inline void turnUntil(const std::function<bool()>& done) {
  const Alarm patience{std::chrono::seconds(10)};
  while (!done() && !patience.rung())
    g_main_context_iteration(nullptr, TRUE);
}

}  // namespace application_tests
