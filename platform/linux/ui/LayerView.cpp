#include "platform/linux/ui/LayerView.h"

#include <cerrno>
#include <memory>
#include <utility>

#include <glib/gi18n.h>

#include "platform/linux/ui/ContainerWidget.h"
#include "platform/linux/ui/MainLoop.h"
#include "platform/linux/ui/Signals.h"
#include "platform/linux/ui/Toplevel.h"

namespace platform_linux {
namespace {

void updateStatus(GtkWidget* widget);

/// The C++ side of the widget.
struct LayerViewState {
  explicit LayerViewState(GtkWidget* widget)
      : draw(G_PRIORITY_DEFAULT_IDLE,
             [widget] {
               updateStatus(widget);
               gtk_widget_queue_draw(widget);
             }),
        painter([this] { draw.schedule(); }) {}

  /// When nothing else waits: pictures that come faster than they can be drawn (without a graphics processor,
  /// on a busy machine) must not keep what the toolkit does at idle times, like telling screen readers, from
  /// ever being done.
  DeferredCall draw;
  LayerTreePainter painter;
  const char* status = "";
  SignalConnection windowState;  ///< while mapped
};

struct LayerView {
  GtkWidget parent;
  LayerViewState* state;
};

LayerView* asLayerView(gpointer object) {
  return reinterpret_cast<LayerView*>(
      g_type_check_instance_cast(static_cast<GTypeInstance*>(object), layerViewType()));
}

LayerViewState& stateOf(gpointer object) {
  return *asLayerView(object)->state;
}

GtkWidgetClass* parentClass() {
  return GTK_WIDGET_CLASS(g_type_class_peek(GTK_TYPE_WIDGET));
}

const char* statusOf(const LayerTreePainter& painter) {
  if (painter.hasPicture()) return "";
  switch (painter.error()) {
    case 0:
      return dgettext(CAMERA_SHOT_TRANSLATION_DOMAIN, "Starting the camera…");
    case EBUSY:
      return dgettext(CAMERA_SHOT_TRANSLATION_DOMAIN, "The camera is in use by another program.");
    default:
      return dgettext(CAMERA_SHOT_TRANSLATION_DOMAIN, "The camera sends no picture.");
  }
}

void updateStatus(GtkWidget* widget) {
  const char* const status = statusOf(stateOf(widget).painter);
  if (std::exchange(stateOf(widget).status, status) != status) g_object_notify(G_OBJECT(widget), "status");
}

void getProperty(GObject* object, guint, GValue* value, GParamSpec*) noexcept {
  g_value_set_string(value, stateOf(object).status);
}

void snapshotLayers(GtkWidget* widget, GtkSnapshot* snapshot) noexcept {
  stateOf(widget).painter.snapshot(snapshot, gtk_widget_get_scale_factor(widget));
  // The words that stand there instead of a picture are taken away a little later than the picture comes.
  if (!stateOf(widget).painter.hasPicture()) snapshotChildren(widget, snapshot);
}

void allocateLayers(GtkWidget* widget, int width, int height, int baseline) noexcept {
  allocateChildren(widget, width, height, baseline);
  stateOf(widget).painter.setSize(width, height);
}

void mapLayers(GtkWidget* widget) noexcept {
  parentClass()->map(widget);
  GdkSurface* const surface = gtk_native_get_surface(gtk_widget_get_native(widget));
  const auto update = [widget, surface] { stateOf(widget).painter.setDrawable(isSeen(surface)); };
  stateOf(widget).windowState = SignalConnection(surface, "notify::state", update);
  update();
  updateStatus(widget);
}

void unmapLayers(GtkWidget* widget) noexcept {
  stateOf(widget).windowState.disconnect();
  stateOf(widget).painter.setDrawable(false);
  stateOf(widget).painter.releasePictures();
  parentClass()->unmap(widget);
}

void finalizeLayers(GObject* object) noexcept {
  delete asLayerView(object)->state;
  G_OBJECT_CLASS(parentClass())->finalize(object);
}

void initClass(gpointer viewClass, gpointer) noexcept {
  G_OBJECT_CLASS(viewClass)->finalize = finalizeLayers;
  G_OBJECT_CLASS(viewClass)->get_property = getProperty;
  constexpr guint kStatus = 1;
  g_object_class_install_property(
      G_OBJECT_CLASS(viewClass), kStatus,
      g_param_spec_string("status", nullptr, nullptr, "",
                          GParamFlags(G_PARAM_READABLE | G_PARAM_STATIC_STRINGS)));
  GtkWidgetClass* const widgetClass = GTK_WIDGET_CLASS(viewClass);
  setUpContainerClass(widgetClass);
  widgetClass->snapshot = snapshotLayers;
  widgetClass->size_allocate = allocateLayers;
  widgetClass->map = mapLayers;
  widgetClass->unmap = unmapLayers;
}

void initView(GTypeInstance* instance, gpointer) noexcept {
  GtkWidget* const widget = GTK_WIDGET(instance);
  reinterpret_cast<LayerView*>(instance)->state = std::make_unique<LayerViewState>(widget).release();
  gtk_widget_set_overflow(widget, GTK_OVERFLOW_HIDDEN);
}

}  // namespace

GType layerViewType() {
  static const GType kType =
      g_type_register_static_simple(GTK_TYPE_WIDGET, "LayerView", sizeof(GtkWidgetClass), initClass,
                                    sizeof(LayerView), initView, GTypeFlags{});
  return kType;
}

bool isLayerView(GtkWidget* widget) {
  return G_TYPE_CHECK_INSTANCE_TYPE(widget, layerViewType());
}

LayerTreePainter& painterOf(GtkWidget* layerView) {
  return stateOf(layerView).painter;
}

}  // namespace platform_linux
