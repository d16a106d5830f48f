#include "platform/linux/ui/DisplayWatch.h"

#include <mutex>
#include <poll.h>
#include <thread>
#include <utility>

#include <gdk/wayland/gdkwayland.h>
#include <gdk/x11/gdkx.h>

namespace platform_linux {
namespace {

/// The hooks of the libraries get no data of ours.
struct Watched {
  const std::function<void()>* lost = nullptr;
  wl_display* wayland = nullptr;
  std::thread::id mainThread;
};
Watched watched;

bool isLost(wl_display* display) {
  pollfd connection{wl_display_get_fd(display), 0, 0};
  return wl_display_get_error(display) != 0 || ::poll(&connection, 1, /*no wait*/ 0) > 0;
}

/// Once only: what it does may log a line, too.
void tellOnce() {
  if (const auto* const lost = std::exchange(watched.lost, nullptr)) (*lost)();
}

/// Gets every line that the toolkit logs.
GLogWriterOutput writeLine(GLogLevelFlags level, const GLogField* fields, gsize count, gpointer) noexcept {
  const auto written = g_log_writer_default(level, fields, count, nullptr);
  const bool isOurs = watched.wayland && std::this_thread::get_id() == watched.mainThread;
  if (isOurs && isLost(watched.wayland)) tellOnce();
  return written;
}

/// However GTK meets the broken connection, it logs a line and then calls _exit, with nothing between that
/// could be hooked (gdk/wayland/gdkeventsource.c). To look at the connection oneself comes too late now and
/// then: GTK writes to it before the loop sleeps.
void watchWayland() {
  // GLib allows it once.
  static std::once_flag isSet;
  std::call_once(isSet, [] { g_log_set_writer_func(writeLine, nullptr, nullptr); });
}

/// Xlib calls this wherever it meets the broken connection, and ends the process after it.
void watchX11() {
  XSetIOErrorHandler([](Display*) noexcept {
    tellOnce();
    return 0;
  });
}

}  // namespace

DisplayWatch::DisplayWatch(GdkDisplay* display, std::function<void()> lost) : lost_(std::move(lost)) {
  watched = {&lost_, nullptr, std::this_thread::get_id()};
  if (GDK_IS_X11_DISPLAY(display)) watchX11();
  if (!GDK_IS_WAYLAND_DISPLAY(display)) return;
  watched.wayland = gdk_wayland_display_get_wl_display(display);
  watchWayland();
}

DisplayWatch::~DisplayWatch() {
  watched = {};
}

}  // namespace platform_linux
