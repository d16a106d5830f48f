#include "platform/linux/ui/ActivationToken.h"

#include <gdk/wayland/gdkwayland.h>

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

}  // namespace platform_linux
