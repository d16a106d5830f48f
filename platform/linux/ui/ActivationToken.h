#pragma once

#include <string>

#include <gtk/gtk.h>

namespace platform_linux {

/// Has the next presentation of the window use `token`, the desktop's leave to come to the front. Main
/// thread.
void useActivationToken(GtkWindow* window, const std::string& token);

}  // namespace platform_linux
