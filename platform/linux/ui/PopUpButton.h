#pragma once

#include <vector>

#include "platform/linux/ui/Button.h"

namespace platform_linux {

/// An AdwComboRow. Items of equal title are told apart for the user, and only for the user, by a number.
class PopUpButton : public Control, public platform::NSPopUpButton {
 public:
  PopUpButton(GtkWidget* widget, DecodeThread& decodeThread);

  void removeAllItems() override;
  void addItem(const platform::NSMenuItem& item) override;
  int numberOfItems() const override;
  void selectItemAtIndex(int index) override;
  int indexOfSelectedItem() const override;

 private:
  const GObjectRef<GtkStringList> shown_;
  std::vector<platform::NSMenuItem> items_;
};

}  // namespace platform_linux
