#include "platform/linux/photo/BitmapImageRep.h"

#include <utility>

#include "picture/PhotoRows.h"
#include "platform/linux/photo/PictureImage.h"

namespace platform_linux {

std::shared_ptr<BitmapImageRep> BitmapImageRep::imageRepWithData(
    const std::shared_ptr<platform::NSData>& data, platform::NSLog& log, SavedThumbnails* thumbnails) {
  auto picture = std::dynamic_pointer_cast<const PictureData>(data);
  if (!picture) return nullptr;
  PhotoContents contents{.rows = nullptr, .file = picture->takeFile()};
  std::string failure;
  if (!contents.file) contents.rows = picture::openPhotoRows(picture->frame(), picture->mirrored(), failure);
  if (!contents.file && !contents.rows) {
    log.log("The photo cannot be decoded: " + failure);
    return nullptr;
  }
  return std::shared_ptr<BitmapImageRep>(
      new BitmapImageRep(std::move(picture), std::move(contents), log, thumbnails));
}

BitmapImageRep::BitmapImageRep(std::shared_ptr<const PictureData> picture, PhotoContents contents,
                               platform::NSLog& log, SavedThumbnails* thumbnails)
    : picture_(std::move(picture)), contents_(std::move(contents)), log_(log), thumbnails_(thumbnails) {}

std::shared_ptr<platform::CGImage> BitmapImageRep::cgImage() const {
  return std::make_shared<PictureImage>(picture_);
}

std::shared_ptr<platform::NSData> BitmapImageRep::representationUsingType(
    platform::NSBitmapImageFileType) const {
  return std::make_shared<PngPhoto>(picture_, std::exchange(contents_, {}), log_, thumbnails_);
}

}  // namespace platform_linux
