#include "platform/linux/ui/WindowPosition.h"

#include <gdk/x11/gdkx.h>

#include "platform/linux/base/GObjectRef.h"

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

}  // namespace platform_linux
