#pragma once

#include <gtk/gtk.h>

namespace platform_linux {

/// The widget class `BackgroundView` of the layouts: paints its whole area opaque black, and its children on
/// top of it.
[[nodiscard]] GType backgroundViewType();

}  // namespace platform_linux
