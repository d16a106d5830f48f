#pragma once

#include <gtk/gtk.h>

namespace platform_linux {

/// Whether the window of `surface` is minimised.
inline bool isMinimized(GdkSurface* surface) {
  return GDK_IS_TOPLEVEL(surface) &&
         (gdk_toplevel_get_state(GDK_TOPLEVEL(surface)) & GDK_TOPLEVEL_STATE_MINIMIZED);
}

/// Whether somebody can see what is drawn there, as far as the display server tells.
inline bool isSeen(GdkSurface* surface) {
  // GDK_TOPLEVEL_STATE_SUSPENDED of GTK 4.12, by its number: the headers that we build with may be older.
  constexpr unsigned kSuspended = 1U << 16;
  return !isMinimized(surface) &&
         !(GDK_IS_TOPLEVEL(surface) && (gdk_toplevel_get_state(GDK_TOPLEVEL(surface)) & kSuspended));
}

}  // namespace platform_linux
