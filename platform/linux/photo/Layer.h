#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/QuartzCore/QuartzCore.h"

namespace platform_linux {

/// The layer tree as plain data: views draw it, and are told when it changes. No toolkit. Main thread only.
class Layer : public virtual platform::CALayer {
 public:
  Layer() = default;
  Layer(const Layer&) = delete;
  Layer& operator=(const Layer&) = delete;
  ~Layer() override;

  void setContents(std::shared_ptr<platform::CGImage> contents) override;
  void setContentsGravity(const std::string& gravity) override;
  void setBackgroundColor(const platform::CGColor& color) override;
  void setFrame(const platform::CGRect& frame) override;
  [[nodiscard]] platform::CGRect bounds() const override;
  void addSublayer(std::shared_ptr<platform::CALayer> layer) override;
  void removeFromSuperlayer() override;

  [[nodiscard]] const std::shared_ptr<platform::CGImage>& contents() const { return contents_; }
  [[nodiscard]] const platform::CGColor* backgroundColor() const {
    return hasBackground_ ? &background_ : nullptr;
  }
  [[nodiscard]] const platform::CGRect& frame() const { return frame_; }
  [[nodiscard]] const std::vector<std::shared_ptr<Layer>>& sublayers() const { return sublayers_; }

  /// Tells `onChange` of every change in this layer and below it; none stops that. Kept by the view that
  /// shows the tree.
  void setChangeListener(std::function<void()> onChange) { onChange_ = std::move(onChange); }

 private:
  void changed();

  std::shared_ptr<platform::CGImage> contents_;
  platform::CGColor background_;
  bool hasBackground_ = false;
  platform::CGRect frame_;
  std::vector<std::shared_ptr<Layer>> sublayers_;
  Layer* parent_ = nullptr;
  std::function<void()> onChange_;
};

/// The framework's class operations over plain layers.
class Layers : public platform::QuartzCore {
 public:
  std::shared_ptr<platform::CALayer> layer() override { return std::make_shared<Layer>(); }
};

}  // namespace platform_linux
