#pragma once

#include <memory>

#include "platform/Foundation/NSData.h"
#include "platform/QuartzCore/CGImage.h"

namespace platform {

enum class NSBitmapImageFileType { PNG = 4 };

/// A picture made of pixels. Immutable; thread-safe.
class NSBitmapImageRep {
 public:
  virtual ~NSBitmapImageRep() = default;

  /// The picture for a layer.
  [[nodiscard]] virtual std::shared_ptr<CGImage> cgImage() const = 0;
  /// The picture in a file format with default options.
  [[nodiscard]] virtual std::shared_ptr<NSData> representationUsingType(NSBitmapImageFileType type) const = 0;
};

}  // namespace platform
