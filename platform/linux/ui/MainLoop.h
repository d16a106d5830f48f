#pragma once

#include <functional>

#include <glib.h>

namespace platform_linux {

/// Runs `work` on a later turn of the main loop. Thread-safe; `work` may run after its owner is
/// destroyed.
void postToMainLoop(std::function<void()> work);

/// One call on a later turn of the main loop, however often it is asked for before. Main thread only; a call
/// that is still due when this object goes is dropped.
class DeferredCall {
 public:
  /// `priority` as GLib orders sources: G_PRIORITY_HIGH comes before the next frame is drawn.
  DeferredCall(int priority, std::function<void()> call);
  DeferredCall(const DeferredCall&) = delete;
  DeferredCall& operator=(const DeferredCall&) = delete;
  ~DeferredCall();

  void schedule();

 private:
  const int priority_;
  const std::function<void()> call_;
  guint source_ = 0;
};

}  // namespace platform_linux
