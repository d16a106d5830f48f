#include "platform/linux/ui/PopUpButton.h"

#include <algorithm>
#include <string>

#include <adwaita.h>

#include "platform/linux/ui/ContainerWidget.h"

namespace platform_linux {
namespace {

void hideFromScreenReaders(GtkWidget* widget) {
  gtk_accessible_update_state(GTK_ACCESSIBLE(widget), GTK_ACCESSIBLE_STATE_HIDDEN, TRUE, -1);
}

/// Screen readers have no other name for the items of a list, before GTK 4.12.
void nameItems(GtkWidget* list) {
  for (GtkWidget* item = gtk_widget_get_first_child(list); item; item = gtk_widget_get_next_sibling(item)) {
    if (GtkWidget* const label = findDescendant(item, GTK_TYPE_LABEL))
      gtk_accessible_update_property(GTK_ACCESSIBLE(item), GTK_ACCESSIBLE_PROPERTY_LABEL,
                                     gtk_label_get_label(GTK_LABEL(label)), -1);
    if (GtkWidget* const checkMark = findDescendant(item, GTK_TYPE_IMAGE)) hideFromScreenReaders(checkMark);
  }
}

/// Names what is inside the row: a list of one item, which shows the chosen one, and the list to choose from.
void nameInside(AdwComboRow* row) noexcept {
  GtkWidget* const title = findDescendant(GTK_WIDGET(row), GTK_TYPE_LABEL);
  GtkWidget* const popover = findDescendant(GTK_WIDGET(row), GTK_TYPE_POPOVER);
  for (GtkWidget* const list :
       {findDescendant(GTK_WIDGET(row), GTK_TYPE_LIST_VIEW), findDescendant(popover, GTK_TYPE_LIST_VIEW)}) {
    gtk_accessible_update_relation(GTK_ACCESSIBLE(list), GTK_ACCESSIBLE_RELATION_LABELLED_BY, title, nullptr,
                                   -1);
    nameItems(list);
  }
}

void initRow(GTypeInstance* row, gpointer) noexcept {
  GtkWidget* const popover = findDescendant(GTK_WIDGET(row), GTK_TYPE_POPOVER);
  hideFromScreenReaders(findDescendant(gtk_widget_get_parent(popover), GTK_TYPE_IMAGE));
  // The row's own handler, which makes the item the selected one, has been connected before.
  g_signal_connect_object(
      findDescendant(popover, GTK_TYPE_LIST_VIEW), "activate",
      G_CALLBACK(+[](gpointer chosenFrom) { g_signal_emit_by_name(chosenFrom, "chosen"); }), row,
      G_CONNECT_SWAPPED);
  constexpr auto kLast = GConnectFlags(G_CONNECT_SWAPPED | G_CONNECT_AFTER);
  g_signal_connect_object(row, "notify::selected-item", G_CALLBACK(nameInside), row, kLast);
  g_signal_connect_object(popover, "map", G_CALLBACK(nameInside), row, kLast);
}

void initRowClass(gpointer rowClass, gpointer) noexcept {
  g_signal_new("chosen", G_TYPE_FROM_CLASS(rowClass), G_SIGNAL_RUN_LAST, 0, nullptr, nullptr, nullptr,
               G_TYPE_NONE, 0);
}

}  // namespace

GType popUpRowType() {
  static const GType kType =
      g_type_register_static_simple(ADW_TYPE_COMBO_ROW, "PopUpRow", sizeof(AdwComboRowClass), initRowClass,
                                    sizeof(AdwComboRow), initRow, GTypeFlags{});
  return kType;
}

PopUpButton::PopUpButton(GtkWidget* widget, Worker& decodeThread)
    : Control(widget, decodeThread), shown_(GObjectRef<GtkStringList>::adopt(gtk_string_list_new(nullptr))) {
  adw_combo_row_set_model(ADW_COMBO_ROW(widget), G_LIST_MODEL(shown_.get()));
}

void PopUpButton::removeAllItems() {
  gtk_string_list_splice(shown_.get(), 0, static_cast<guint>(items_.size()), nullptr);
  items_.clear();
}

void PopUpButton::addItem(const platform::NSMenuItem& item) {
  const auto namesakes = std::count(items_.begin(), items_.end(), item);
  items_.push_back(item);
  const std::string number = namesakes > 0 ? " (" + std::to_string(namesakes + 1) + ")" : std::string();
  gtk_string_list_append(shown_.get(), (item.title + number).c_str());
  showArrow(isEnabled());
}

void PopUpButton::setEnabled(bool enabled) {
  Control::setEnabled(enabled);
  showArrow(enabled);
}

void PopUpButton::showArrow(bool shown) {
  // The row would not open a list of one item; but that it is shown does not make it the user's choice.
  gtk_widget_set_visible(gtk_widget_get_parent(findDescendant(widget(), GTK_TYPE_POPOVER)), shown);
  gtk_list_box_row_set_activatable(GTK_LIST_BOX_ROW(widget()), shown);
}

int PopUpButton::numberOfItems() const {
  return static_cast<int>(items_.size());
}

void PopUpButton::selectItemAtIndex(int index) {
  const bool exists = index >= 0 && index < numberOfItems();
  adw_combo_row_set_selected(ADW_COMBO_ROW(widget()),
                             exists ? static_cast<guint>(index) : GTK_INVALID_LIST_POSITION);
}

int PopUpButton::indexOfSelectedItem() const {
  const guint selected = adw_combo_row_get_selected(ADW_COMBO_ROW(widget()));
  return selected == GTK_INVALID_LIST_POSITION ? -1 : static_cast<int>(selected);
}

}  // namespace platform_linux
