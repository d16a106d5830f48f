#pragma once

#include <memory>
#include <string>

#include "platform/QuartzCore/CGImage.h"

namespace platform {

/// A rectangle in logical pixels.
struct CGRect {
  double x = 0;
  double y = 0;
  double width = 0;
  double height = 0;

  bool operator==(const CGRect&) const = default;
};

/// A colour, each part from 0 to 1.
struct CGColor {
  double red = 0;
  double green = 0;
  double blue = 0;
  double alpha = 1;

  bool operator==(const CGColor&) const = default;
};

inline constexpr CGColor kBlackColor{};

/// Scaled to fit the layer with the aspect kept, nothing cropped.
inline const std::string kCAGravityResizeAspect = "resizeAspect";

/// A node of the tree of pictures that a view shows. Main thread only.
class CALayer : public std::enable_shared_from_this<CALayer> {
 public:
  virtual ~CALayer() = default;

  /// The picture that the layer shows; none clears it.
  virtual void setContents(std::shared_ptr<CGImage> contents) = 0;
  virtual void setContentsGravity(const std::string& gravity) = 0;
  virtual void setBackgroundColor(const CGColor& color) = 0;

  /// Where the layer lies in its parent.
  virtual void setFrame(const CGRect& frame) = 0;
  /// The layer's own rectangle.
  [[nodiscard]] virtual CGRect bounds() const = 0;

  /// Puts `layer` on top of everything the layer shows; the tree keeps it alive.
  virtual void addSublayer(std::shared_ptr<CALayer> layer) = 0;
  /// Takes the layer out of its parent; without a parent nothing happens.
  virtual void removeFromSuperlayer() = 0;
};

}  // namespace platform
