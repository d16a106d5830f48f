#include "platform/linux/ui/BackgroundView.h"

#include "platform/linux/ui/ContainerWidget.h"
#include "platform/linux/ui/LayerView.h"

namespace platform_linux {
namespace {

/// A child has the whole area: what it paints need not be black first.
bool isCovered(GtkWidget* widget) {
  GtkWidget* const child = gtk_widget_get_first_child(widget);
  return child && isLayerView(child) && gtk_widget_get_mapped(child) && painterOf(child).coversItsView();
}

void snapshotBackground(GtkWidget* widget, GtkSnapshot* snapshot) noexcept {
  constexpr GdkRGBA kBlack{0, 0, 0, 1};
  const graphene_rect_t bounds = {
      {0, 0},
      {static_cast<float>(gtk_widget_get_width(widget)), static_cast<float>(gtk_widget_get_height(widget))}};
  if (!isCovered(widget)) gtk_snapshot_append_color(snapshot, &kBlack, &bounds);
  snapshotChildren(widget, snapshot);
}

void initClass(gpointer viewClass, gpointer) noexcept {
  setUpContainerClass(GTK_WIDGET_CLASS(viewClass));
  GTK_WIDGET_CLASS(viewClass)->snapshot = snapshotBackground;
  gtk_widget_class_set_accessible_role(GTK_WIDGET_CLASS(viewClass), GTK_ACCESSIBLE_ROLE_GROUP);
}

}  // namespace

GType backgroundViewType() {
  static const GType kType =
      g_type_register_static_simple(GTK_TYPE_WIDGET, "BackgroundView", sizeof(GtkWidgetClass), initClass,
                                    sizeof(GtkWidget), nullptr, GTypeFlags{});
  return kType;
}

}  // namespace platform_linux
