#include "platform/linux/ui/View.h"

#include <utility>

#include <adwaita.h>

#include "platform/linux/ui/Button.h"
#include "platform/linux/ui/LayerView.h"
#include "platform/linux/ui/PopUpButton.h"

namespace platform_linux {

View::View(GtkWidget* widget, Worker& decodeThread)
    : widget_(GObjectRef<GtkWidget>::share(widget)),
      decodeThread_(decodeThread),
      hidden_(!gtk_widget_get_visible(widget)),
      applyHidden_(G_PRIORITY_HIGH, [this] { gtk_widget_set_visible(widget_.get(), !hidden_); }) {}

void View::setHidden(bool hidden) {
  hidden_ = hidden;
  if (hidden_ == bool(gtk_widget_get_visible(widget_.get()))) applyHidden_.schedule();
}

void View::setWantsLayer(bool wantsLayer) {
  if (wantsLayer && !layer_) setLayer(std::make_shared<Layer>());
}

void View::setLayer(std::shared_ptr<platform::CALayer> layer) {
  layer_ = std::dynamic_pointer_cast<Layer>(std::move(layer));
  if (!isLayerView(widget_.get())) return;
  painterOf(widget_.get()).setDecodeThread(decodeThread_);
  painterOf(widget_.get()).setLayer(layer_);
}

void ImageView::setImage(std::shared_ptr<platform::NSImage> image) {
  const char* const name = NamedImage::iconNameOf(image);
  if (g_strcmp0(name, gtk_image_get_icon_name(GTK_IMAGE(widget()))) == 0) return;
  gtk_image_set_from_icon_name(GTK_IMAGE(widget()), name);
}

void TextField::setStringValue(const std::string& text) {
  gtk_label_set_label(GTK_LABEL(widget()), text.c_str());
}

std::shared_ptr<platform::NSView> makeView(GtkWidget* widget, Worker& decodeThread) {
  if (GTK_IS_IMAGE(widget)) return std::make_shared<ImageView>(widget, decodeThread);
  if (GTK_IS_LABEL(widget)) return std::make_shared<TextField>(widget, decodeThread);
  if (GTK_IS_SWITCH(widget)) return std::make_shared<Switch>(widget, decodeThread);
  if (GTK_IS_BUTTON(widget)) return std::make_shared<Button>(widget, decodeThread);
  if (ADW_IS_COMBO_ROW(widget)) return std::make_shared<PopUpButton>(widget, decodeThread);
  return std::make_shared<View>(widget, decodeThread);
}

}  // namespace platform_linux
