#pragma once

#include <memory>
#include <string>

#include "platform/linux/ui/Signals.h"
#include "platform/linux/ui/View.h"

namespace platform_linux {

/// What buttons and popups have in common: being enabled is the widget's own sensitivity.
class Control : public View, public virtual platform::NSControl {
 public:
  using View::View;

  [[nodiscard]] bool isEnabled() const override;
  void setEnabled(bool enabled) override;
};

/// A GtkButton. A title goes into the label, and a picture into the image, that the layout put into the
/// button; without these the button shows one of the two alone.
class Button : public Control, public platform::NSButton {
 public:
  Button(GtkWidget* widget, Worker& decodeThread);

  /// A push button is neither on nor off.
  [[nodiscard]] int state() const override { return platform::NSControlStateValueOff; }
  void setState(int) override {}
  void setTitle(const std::string& title) override;
  void setToolTip(const std::string& text) override;
  void setImage(std::shared_ptr<platform::NSImage> image) override;
  void setAlternateImage(std::shared_ptr<platform::NSImage> image) override;

 private:
  void showImage();

  std::shared_ptr<platform::NSImage> image_;
  std::shared_ptr<platform::NSImage> alternateImage_;
  SignalConnection pressed_;
};

/// A GtkSwitch. Its title stands in the layout.
class Switch : public Control, public platform::NSButton {
 public:
  using Control::Control;

  [[nodiscard]] int state() const override;
  void setState(int state) override;
  void setTitle(const std::string&) override {}
  void setToolTip(const std::string& text) override;
  void setImage(std::shared_ptr<platform::NSImage>) override {}
  void setAlternateImage(std::shared_ptr<platform::NSImage>) override {}
};

}  // namespace platform_linux
