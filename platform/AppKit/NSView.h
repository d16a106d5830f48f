#pragma once

#include <memory>
#include <string>

#include "platform/QuartzCore/CALayer.h"

namespace platform {

/// A named picture of the application's resources. Immutable.
class NSImage {
 public:
  virtual ~NSImage() = default;
};

/// Part of a window. Main thread only, as everything in this file; the window owns its views.
class NSView {
 public:
  virtual ~NSView() = default;

  virtual void setHidden(bool hidden) = 0;
  /// Whether the view has a layer of its own to draw on.
  virtual void setWantsLayer(bool wantsLayer) = 0;
  /// The view's own layer; nothing when it has none.
  [[nodiscard]] virtual std::shared_ptr<CALayer> layer() const = 0;
  /// Makes `layer` what the view shows, over its whole size and following it; none clears it.
  virtual void setLayer(std::shared_ptr<CALayer> layer) = 0;
};

class NSImageView : public virtual NSView {
 public:
  /// None clears the picture.
  virtual void setImage(std::shared_ptr<NSImage> image) = 0;
};

class NSTextField : public virtual NSView {
 public:
  virtual void setStringValue(const std::string& text) = 0;
};

class NSControl : public virtual NSView {
 public:
  [[nodiscard]] virtual bool isEnabled() const = 0;
  virtual void setEnabled(bool enabled) = 0;
};

inline constexpr int NSControlStateValueOff = 0;
inline constexpr int NSControlStateValueOn = 1;

/// A push button or a switch.
class NSButton : public virtual NSControl {
 public:
  [[nodiscard]] virtual int state() const = 0;
  virtual void setState(int state) = 0;
  virtual void setTitle(const std::string& title) = 0;
  virtual void setToolTip(const std::string& text) = 0;
  /// The picture that the button shows; none leaves it without one.
  virtual void setImage(std::shared_ptr<NSImage> image) = 0;
  /// The picture that it shows while pressed.
  virtual void setAlternateImage(std::shared_ptr<NSImage> image) = 0;
};

/// An entry of a menu.
struct NSMenuItem {
  std::string title;

  bool operator==(const NSMenuItem&) const = default;
};

/// A button that chooses one of its menu's items.
class NSPopUpButton : public virtual NSControl {
 public:
  virtual void removeAllItems() = 0;
  virtual void addItem(const NSMenuItem& item) = 0;
  [[nodiscard]] virtual int numberOfItems() const = 0;
  virtual void selectItemAtIndex(int index) = 0;
  /// -1 when nothing is selected.
  [[nodiscard]] virtual int indexOfSelectedItem() const = 0;
};

}  // namespace platform
