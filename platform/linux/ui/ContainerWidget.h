#pragma once

#include <gtk/gtk.h>

namespace platform_linux {

/// What our own widget classes have in common: the children that a layout gives them fill them, one over
/// another.
void setUpContainerClass(GtkWidgetClass* widgetClass);

/// Gives every child the widget's whole area.
void allocateChildren(GtkWidget* widget, int width, int height, int baseline) noexcept;

/// Draws the children as any widget does.
void snapshotChildren(GtkWidget* widget, GtkSnapshot* snapshot);

/// The first widget of that class below `widget`; null when there is none.
[[nodiscard]] GtkWidget* findDescendant(GtkWidget* widget, GType type);

}  // namespace platform_linux
