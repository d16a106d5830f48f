#pragma once

#include <memory>
#include <string>
#include <utility>

#include <gtk/gtk.h>

#include "platform/AppKit/NSView.h"
#include "platform/linux/base/Handles.h"
#include "platform/linux/base/Worker.h"
#include "platform/linux/photo/Layer.h"
#include "platform/linux/ui/MainLoop.h"

namespace platform_linux {

/// A picture of the application's resources, by its name in the icon theme, which has it in several sizes.
class NamedImage : public platform::NSImage {
 public:
  explicit NamedImage(std::string iconName) : iconName_(std::move(iconName)) {}

  [[nodiscard]] const std::string& iconName() const { return iconName_; }

  /// The icon name of `image`; null when it has none.
  [[nodiscard]] static const char* iconNameOf(const std::shared_ptr<platform::NSImage>& image) {
    const auto* const named = dynamic_cast<const NamedImage*>(image.get());
    return named ? named->iconName().c_str() : nullptr;
  }

 private:
  const std::string iconName_;
};

/// Any widget as a view. Only a LayerView draws its layer; elsewhere a layer is kept and not seen.
class View : public virtual platform::NSView {
 public:
  /// `decodeThread` decodes what the layers show, and must outlive the view's widget.
  View(GtkWidget* widget, Worker& decodeThread);

  /// Takes effect before the next drawing: a view that is shown and hidden again meanwhile costs nothing.
  void setHidden(bool hidden) override;
  void setWantsLayer(bool wantsLayer) override;
  [[nodiscard]] std::shared_ptr<platform::CALayer> layer() const override { return layer_; }
  void setLayer(std::shared_ptr<platform::CALayer> layer) override;

 protected:
  [[nodiscard]] GtkWidget* widget() const { return widget_.get(); }

 private:
  const GObjectRef<GtkWidget> widget_;
  Worker& decodeThread_;
  std::shared_ptr<Layer> layer_;
  bool hidden_;
  DeferredCall applyHidden_;
};

/// A GtkImage.
class ImageView : public View, public platform::NSImageView {
 public:
  using View::View;

  void setImage(std::shared_ptr<platform::NSImage> image) override;
};

/// A GtkLabel.
class TextField : public View, public platform::NSTextField {
 public:
  using View::View;

  void setStringValue(const std::string& text) override;
};

/// The view for `widget`, of the kind that fits its class.
[[nodiscard]] std::shared_ptr<platform::NSView> makeView(GtkWidget* widget, Worker& decodeThread);

}  // namespace platform_linux
