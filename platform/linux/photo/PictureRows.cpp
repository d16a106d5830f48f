#include "platform/linux/photo/PictureRows.h"

#include "picture/PhotoRows.h"

namespace platform_linux {

std::unique_ptr<picture::RowSource> openRows(const PictureData& picture, std::string& failure) {
  return picture::openPhotoRows(picture.frame(), picture.mirrored(), failure);
}

}  // namespace platform_linux
