#include "platform/linux/ui/Button.h"

#include <utility>

#include "platform/linux/ui/ContainerWidget.h"

namespace platform_linux {
bool Control::isEnabled() const {
  return gtk_widget_get_sensitive(widget());
}

void Control::setEnabled(bool enabled) {
  gtk_widget_set_sensitive(widget(), enabled);
}

Button::Button(GtkWidget* widget, Worker& decodeThread)
    : Control(widget, decodeThread), pressed_(widget, "state-flags-changed", [this] { showImage(); }) {}

void Button::setTitle(const std::string& title) {
  GtkWidget* const label = findDescendant(widget(), GTK_TYPE_LABEL);
  if (label)
    gtk_label_set_label(GTK_LABEL(label), title.c_str());
  else
    gtk_button_set_label(GTK_BUTTON(widget()), title.c_str());
}

void Button::setToolTip(const std::string& text) {
  gtk_widget_set_tooltip_text(widget(), text.empty() ? nullptr : text.c_str());
}

void Button::setImage(std::shared_ptr<platform::NSImage> image) {
  image_ = std::move(image);
  showImage();
}

void Button::setAlternateImage(std::shared_ptr<platform::NSImage> image) {
  alternateImage_ = std::move(image);
  showImage();
}

void Button::showImage() {
  if (!image_ && !alternateImage_) return;  // a button that the layout gave its picture
  const bool isPressed = gtk_widget_get_state_flags(widget()) & GTK_STATE_FLAG_ACTIVE;
  const char* const name = NamedImage::iconNameOf(isPressed && alternateImage_ ? alternateImage_ : image_);
  GtkWidget* const image = findDescendant(widget(), GTK_TYPE_IMAGE);
  if (!image)
    gtk_button_set_icon_name(GTK_BUTTON(widget()), name ? name : "");
  else if (g_strcmp0(name, gtk_image_get_icon_name(GTK_IMAGE(image))) != 0)
    gtk_image_set_from_icon_name(GTK_IMAGE(image), name);
}

int Switch::state() const {
  return gtk_switch_get_active(GTK_SWITCH(widget())) ? platform::NSControlStateValueOn
                                                     : platform::NSControlStateValueOff;
}

void Switch::setState(int state) {
  const ProgrammaticChange ours(widget());
  gtk_switch_set_active(GTK_SWITCH(widget()), state == platform::NSControlStateValueOn);
}

void Switch::setToolTip(const std::string& text) {
  gtk_widget_set_tooltip_text(widget(), text.empty() ? nullptr : text.c_str());
}

}  // namespace platform_linux
