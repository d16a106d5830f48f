#pragma once

#include <memory>

#include "platform/AppKit/NSBitmapImageRep.h"
#include "platform/Foundation/NSLog.h"
#include "platform/linux/photo/PngPhoto.h"
#include "platform/linux/photo/SavedThumbnails.h"

namespace platform_linux {

/// A captured photo as a bitmap. Its pixels are made when somebody needs them, and then only as many as are
/// needed. One thread makes it and asks for its representation; any may ask for the image.
class BitmapImageRep : public platform::NSBitmapImageRep {
 public:
  /// Nothing when `data` is no captured photo or its bytes do not begin a picture. `log` and
  /// `thumbnails`, which is told of every file and may be null, outlive the result.
  [[nodiscard]] static std::shared_ptr<BitmapImageRep> imageRepWithData(
      const std::shared_ptr<platform::NSData>& data, platform::NSLog& log,
      SavedThumbnails* thumbnails = nullptr);

  [[nodiscard]] std::shared_ptr<platform::CGImage> cgImage() const override;
  [[nodiscard]] std::shared_ptr<platform::NSData> representationUsingType(
      platform::NSBitmapImageFileType type) const override;

 private:
  BitmapImageRep(std::shared_ptr<const PictureData> picture, PhotoContents contents, platform::NSLog& log,
                 SavedThumbnails* thumbnails);

  const std::shared_ptr<const PictureData> picture_;
  /// For the first representation.
  mutable PhotoContents contents_;
  platform::NSLog& log_;
  SavedThumbnails* const thumbnails_;
};

}  // namespace platform_linux
