#include "platform/linux/ui/PopUpButton.h"

#include <algorithm>
#include <string>

#include <adwaita.h>

namespace platform_linux {

PopUpButton::PopUpButton(GtkWidget* widget, DecodeThread& decodeThread)
    : Control(widget, decodeThread), shown_(GObjectRef<GtkStringList>::adopt(gtk_string_list_new(nullptr))) {
  const ProgrammaticChange ours(widget);
  adw_combo_row_set_model(ADW_COMBO_ROW(widget), G_LIST_MODEL(shown_.get()));
}

void PopUpButton::removeAllItems() {
  const ProgrammaticChange ours(widget());
  gtk_string_list_splice(shown_.get(), 0, static_cast<guint>(items_.size()), nullptr);
  items_.clear();
}

void PopUpButton::addItem(const platform::NSMenuItem& item) {
  const ProgrammaticChange ours(widget());
  const auto namesakes = std::count(items_.begin(), items_.end(), item);
  items_.push_back(item);
  const std::string number = namesakes > 0 ? " (" + std::to_string(namesakes + 1) + ")" : std::string();
  gtk_string_list_append(shown_.get(), (item.title + number).c_str());
}

int PopUpButton::numberOfItems() const {
  return static_cast<int>(items_.size());
}

void PopUpButton::selectItemAtIndex(int index) {
  const ProgrammaticChange ours(widget());
  const bool exists = index >= 0 && index < numberOfItems();
  adw_combo_row_set_selected(ADW_COMBO_ROW(widget()),
                             exists ? static_cast<guint>(index) : GTK_INVALID_LIST_POSITION);
}

int PopUpButton::indexOfSelectedItem() const {
  const guint selected = adw_combo_row_get_selected(ADW_COMBO_ROW(widget()));
  return selected == GTK_INVALID_LIST_POSITION ? -1 : static_cast<int>(selected);
}

}  // namespace platform_linux
