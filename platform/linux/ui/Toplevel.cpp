#include "platform/linux/ui/Toplevel.h"

#include <gdk/wayland/gdkwayland.h>
#include <gdk/x11/gdkx.h>

#include "platform/linux/base/Handles.h"

namespace platform_linux {
namespace {

/// A title bar's height: so much of a window must lie on a monitor for the user to get hold of it.
constexpr int kReachable = 32;

GdkSurface* x11SurfaceOf(GtkWindow* window) {
  GdkSurface* const surface = gtk_native_get_surface(GTK_NATIVE(window));
  G_GNUC_BEGIN_IGNORE_DEPRECATIONS
  return surface && GDK_IS_X11_SURFACE(surface) ? surface : nullptr;
  G_GNUC_END_IGNORE_DEPRECATIONS
}

struct X11Window {
  explicit X11Window(GdkSurface* surface) {
    G_GNUC_BEGIN_IGNORE_DEPRECATIONS
    display = gdk_x11_display_get_xdisplay(gdk_surface_get_display(surface));
    window = gdk_x11_surface_get_xid(surface);
    G_GNUC_END_IGNORE_DEPRECATIONS
  }

  Display* display;
  Window window;
};

bool isOnMonitor(GdkSurface* surface, WindowFrame::Position position) {
  GListModel* const monitors = gdk_display_get_monitors(gdk_surface_get_display(surface));
  const int scale = gdk_surface_get_scale_factor(surface);
  for (guint i = 0; i < g_list_model_get_n_items(monitors); ++i) {
    const auto monitor =
        GObjectRef<GdkMonitor>::adopt(static_cast<GdkMonitor*>(g_list_model_get_item(monitors, i)));
    GdkRectangle area;
    gdk_monitor_get_geometry(monitor.get(), &area);
    const int right = position.x / scale + gdk_surface_get_width(surface);
    const int top = position.y / scale;
    if (position.x / scale + kReachable <= area.x + area.width && right - kReachable >= area.x &&
        top >= area.y - kReachable && top + kReachable <= area.y + area.height)
      return true;
  }
  return false;
}

}  // namespace

bool isMinimized(GdkSurface* surface) {
  return GDK_IS_TOPLEVEL(surface) &&
         (gdk_toplevel_get_state(GDK_TOPLEVEL(surface)) & GDK_TOPLEVEL_STATE_MINIMIZED);
}

bool isSeen(GdkSurface* surface) {
  // GDK_TOPLEVEL_STATE_SUSPENDED of GTK 4.12, by its number: the headers that we build with may be older.
  constexpr unsigned kSuspended = 1U << 16;
  return !isMinimized(surface) &&
         !(GDK_IS_TOPLEVEL(surface) && (gdk_toplevel_get_state(GDK_TOPLEVEL(surface)) & kSuspended));
}

std::optional<WindowFrame::Position> positionOf(GtkWindow* window) {
  GdkSurface* const surface = x11SurfaceOf(window);
  if (!surface) return {};
  const X11Window x11(surface);
  // The corner of our own window, without what the window manager put around it.
  int x = 0;
  int y = 0;
  ::Window child = 0;
  if (!XTranslateCoordinates(x11.display, x11.window, DefaultRootWindow(x11.display), 0, 0, &x, &y, &child))
    return {};
  return WindowFrame::Position{x, y};
}

void moveTo(GtkWindow* window, WindowFrame::Position position) {
  GdkSurface* const surface = x11SurfaceOf(window);
  if (!surface || !isOnMonitor(surface, position)) return;
  const X11Window x11(surface);
  XMoveWindow(x11.display, x11.window, position.x, position.y);
}

void useActivationToken(GtkWindow* window, const std::string& token) {
  gtk_window_set_startup_id(window, token.c_str());
  // On Wayland, GTK looks for the token at the display: before 4.10 there only, later before it asks the
  // compositor for one of its own, which no action of the user stands behind, and turns to that of the
  // window.
  G_GNUC_BEGIN_IGNORE_DEPRECATIONS
  GdkDisplay* const display = gtk_widget_get_display(GTK_WIDGET(window));
  if (GDK_IS_WAYLAND_DISPLAY(display))
    gdk_wayland_display_set_startup_notification_id(display, token.c_str());
  G_GNUC_END_IGNORE_DEPRECATIONS
}

void presentAsAskedForNow(GtkWindow* window) {
  G_GNUC_BEGIN_IGNORE_DEPRECATIONS
  GdkSurface* const surface = gtk_native_get_surface(GTK_NATIVE(window));
  if (!GDK_IS_X11_SURFACE(surface)) return gtk_window_present(window);
  const guint32 now = gdk_x11_get_server_time(surface);
  gdk_x11_surface_set_user_time(surface, now);
  gtk_window_present_with_time(window, now);
  G_GNUC_END_IGNORE_DEPRECATIONS
}

}  // namespace platform_linux
