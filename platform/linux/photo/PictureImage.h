#pragma once

#include <memory>
#include <utility>

#include "platform/QuartzCore/CGImage.h"
#include "platform/linux/photo/PictureData.h"

namespace platform_linux {

/// A photo for a layer: the camera's own bytes. The view that shows it decodes it, at the size in which it is
/// shown.
class PictureImage : public platform::CGImage {
 public:
  /// `picture` must be given.
  explicit PictureImage(std::shared_ptr<const PictureData> picture) : picture_(std::move(picture)) {}

  [[nodiscard]] const std::shared_ptr<const PictureData>& picture() const { return picture_; }

 private:
  const std::shared_ptr<const PictureData> picture_;
};

}  // namespace platform_linux
