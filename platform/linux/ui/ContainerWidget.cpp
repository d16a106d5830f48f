#include "platform/linux/ui/ContainerWidget.h"

#include <algorithm>

namespace platform_linux {
namespace {

template <class Visit>
void forEachChild(GtkWidget* widget, Visit visit) {
  for (GtkWidget* child = gtk_widget_get_first_child(widget); child;
       child = gtk_widget_get_next_sibling(child))
    visit(child);
}

void measureChildren(GtkWidget* widget, GtkOrientation orientation, int forSize, int* minimum, int* natural,
                     int*, int*) noexcept {
  forEachChild(widget, [=](GtkWidget* child) {
    int childMinimum = 0;
    int childNatural = 0;
    gtk_widget_measure(child, orientation, forSize, &childMinimum, &childNatural, nullptr, nullptr);
    *minimum = std::max(*minimum, childMinimum);
    *natural = std::max(*natural, childNatural);
  });
}

/// A child with wrapped text needs more height where it has less width.
GtkSizeRequestMode requestMode(GtkWidget*) noexcept {
  return GTK_SIZE_REQUEST_HEIGHT_FOR_WIDTH;
}

void disposeContainer(GObject* object) noexcept {
  while (GtkWidget* const child = gtk_widget_get_first_child(GTK_WIDGET(object)))
    gtk_widget_unparent(child);
  G_OBJECT_CLASS(g_type_class_peek(GTK_TYPE_WIDGET))->dispose(object);
}

}  // namespace

GtkWidget* findDescendant(GtkWidget* widget, GType type) {
  for (GtkWidget* child = gtk_widget_get_first_child(widget); child;
       child = gtk_widget_get_next_sibling(child)) {
    if (G_TYPE_CHECK_INSTANCE_TYPE(child, type)) return child;
    if (GtkWidget* const deeper = findDescendant(child, type)) return deeper;
  }
  return nullptr;
}

void setUpContainerClass(GtkWidgetClass* widgetClass) {
  G_OBJECT_CLASS(widgetClass)->dispose = disposeContainer;
  widgetClass->measure = measureChildren;
  widgetClass->get_request_mode = requestMode;
  widgetClass->size_allocate = allocateChildren;
}

void allocateChildren(GtkWidget* widget, int width, int height, int baseline) noexcept {
  forEachChild(widget,
               [=](GtkWidget* child) { gtk_widget_allocate(child, width, height, baseline, nullptr); });
}

void snapshotChildren(GtkWidget* widget, GtkSnapshot* snapshot) {
  forEachChild(widget, [=](GtkWidget* child) { gtk_widget_snapshot_child(widget, child, snapshot); });
}

}  // namespace platform_linux
