#include "platform/linux/ui/ActivationToken.h"

#include <gdk/wayland/gdkwayland.h>
#include <gdk/x11/gdkx.h>

namespace platform_linux {

void useActivationToken(GtkWindow* window, const std::string& token) {
  gtk_window_set_startup_id(window, token.c_str());
  // On Wayland, GTK looks for the token at the display: before 4.10 there only, later before it asks the
  // compositor for one of its own, which is no leave of the user's, and turns to that of the window.
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
