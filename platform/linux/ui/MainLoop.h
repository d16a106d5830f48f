#pragma once

#include <functional>

#include <glib.h>

namespace platform_linux {

/// Runs `work` on a later turn of the main loop. Thread-safe; `work` must bear that what it is about has
/// gone. `priority` as GLib orders sources.
void postToMainLoop(std::function<void()> work, int priority = G_PRIORITY_DEFAULT);

/// The priority of what may come so often that it would keep the toolkit from drawing: it waits for a drawing
/// that is due (GDK_PRIORITY_REDRAW is G_PRIORITY_HIGH_IDLE + 20).
inline constexpr int kPriorityAfterDrawing = G_PRIORITY_HIGH_IDLE + 21;

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
