#pragma once

#include <vector>

#include "platform/linux/ui/Button.h"

namespace platform_linux {

/// The widget class `PopUpRow` of the layouts: an AdwComboRow whose signal "chosen" tells of each item that
/// the user chooses, also of the one that is shown already.
[[nodiscard]] GType popUpRowType();

/// A PopUpRow. Items of equal title are told apart for the user, and only for the user, by a number.
class PopUpButton : public Control, public platform::NSPopUpButton {
 public:
  PopUpButton(GtkWidget* widget, Worker& decodeThread);

  void removeAllItems() override;
  void addItem(const platform::NSMenuItem& item) override;
  void setEnabled(bool enabled) override;
  [[nodiscard]] int numberOfItems() const override;
  void selectItemAtIndex(int index) override;
  [[nodiscard]] int indexOfSelectedItem() const override;

 private:
  void showArrow(bool shown);

  const GObjectRef<GtkStringList> shown_;
  std::vector<platform::NSMenuItem> items_;
};

}  // namespace platform_linux
