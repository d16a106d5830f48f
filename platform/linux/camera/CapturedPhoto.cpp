#include "platform/linux/camera/CapturedPhoto.h"

#include "platform/linux/storage/AtomicFile.h"

namespace platform_linux {

bool CapturedPicture::writeToFile(const std::string& path, bool) const {
  // Whole or not at all also when nobody asks for it: there is no harm in it.
  int error = 0;
  const auto file = AtomicFile::open(path, error);
  return file && file->write(frame_->bytes) && file->commit();
}

}  // namespace platform_linux
