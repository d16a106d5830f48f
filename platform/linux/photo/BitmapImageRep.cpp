#include "platform/linux/photo/BitmapImageRep.h"

#include <utility>

#include "platform/linux/photo/PictureImage.h"
#include "platform/linux/photo/PictureRows.h"
#include "platform/linux/photo/PngPhoto.h"

namespace platform_linux {

std::shared_ptr<BitmapImageRep> BitmapImageRep::imageRepWithData(
    const std::shared_ptr<platform::NSData>& data, platform::NSLog& log, SavedThumbnails* thumbnails) {
  auto picture = std::dynamic_pointer_cast<const PictureData>(data);
  if (!picture) return nullptr;
  std::string failure;
  if (!openRows(*picture, failure)) {
    log.log("The photo cannot be decoded: " + failure);
    return nullptr;
  }
  return std::shared_ptr<BitmapImageRep>(new BitmapImageRep(std::move(picture), log, thumbnails));
}

BitmapImageRep::BitmapImageRep(std::shared_ptr<const PictureData> picture, platform::NSLog& log,
                               SavedThumbnails* thumbnails)
    : picture_(std::move(picture)), log_(log), thumbnails_(thumbnails) {}

std::shared_ptr<platform::CGImage> BitmapImageRep::cgImage() const {
  return std::make_shared<PictureImage>(picture_);
}

std::shared_ptr<platform::NSData> BitmapImageRep::representationUsingType(
    platform::NSBitmapImageFileType) const {
  return std::make_shared<PngPhoto>(picture_, log_, thumbnails_);
}

}  // namespace platform_linux
