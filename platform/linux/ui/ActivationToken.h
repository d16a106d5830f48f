#pragma once

#include <string>

#include <gtk/gtk.h>

namespace platform_linux {

/// Has the next presentation of the window use `token`, the desktop's leave to come to the front. Main
/// thread.
void useActivationToken(GtkWindow* window, const std::string& token);

/// Presents the window as what the user asked for just now. On X11 desktops compare times: without a token
/// the window's own, of when it was last used, would keep it behind. The window must be realised. Main
/// thread.
void presentAsAskedForNow(GtkWindow* window);

}  // namespace platform_linux
