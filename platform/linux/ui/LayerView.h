#pragma once

#include <gtk/gtk.h>

#include "platform/linux/ui/LayerTreePainter.h"

namespace platform_linux {

/// The widget class `LayerView` of the layouts: draws a layer tree over its whole area, and its children on
/// top of it, but not over a live picture. Its property `status` says in words why no live picture is there;
/// it is empty while one is. Drawing stops while the widget is unmapped or its window minimised or known to
/// be hidden from sight.
[[nodiscard]] GType layerViewType();

[[nodiscard]] bool isLayerView(GtkWidget* widget);

/// The painter of a LayerView; lives as long as the widget.
[[nodiscard]] LayerTreePainter& painterOf(GtkWidget* layerView);

}  // namespace platform_linux
