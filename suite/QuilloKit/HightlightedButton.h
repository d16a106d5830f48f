#pragma once

#include <memory>

#include "platform/AppKit/NSView.h"

namespace suite {

/// A button that shows one image normally and another while it is pressed. Main thread only.
class HightlightedButton {
 public:
  explicit HightlightedButton(std::shared_ptr<platform::NSButton> button) : button_(std::move(button)) {}

  /// An image that is none leaves the button without it.
  void setOriginalImage(std::shared_ptr<platform::NSImage> originalImage,
                        std::shared_ptr<platform::NSImage> hightlightedImage);
  [[nodiscard]] bool isEnabled() const { return button_->isEnabled(); }
  void setEnabled(bool enabled) { button_->setEnabled(enabled); }

 private:
  std::shared_ptr<platform::NSButton> button_;
};

}  // namespace suite
