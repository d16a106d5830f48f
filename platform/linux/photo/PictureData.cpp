#include "platform/linux/photo/PictureData.h"

#include <vector>

#include "picture/ExifBlock.h"
#include "picture/FrameOrientation.h"
#include "picture/JpegMarkers.h"
#include "platform/linux/storage/AtomicFile.h"

namespace platform_linux {
namespace {

std::vector<std::uint8_t> fileBytes(const picture::Frame& frame, bool mirrored) {
  if (frame.format != picture::PixelFormat::MJPG) return frame.bytes;
  const picture::Orientation upright = picture::uprightOrientation(frame);
  const picture::ExifBlock exif{mirrored ? upright.thenMirrored() : upright, frame.captured};
  return picture::jpegWithExif(frame.bytes, exif).value_or(frame.bytes);
}

}  // namespace

bool PictureData::writeToFile(const std::string& path, bool) const {
  // Whole or not at all also when nobody asks for it: there is no harm in it.
  int error = 0;
  const auto file = AtomicFile::open(path, error);
  return file && file->write(fileBytes(*frame_, mirrored_)) && file->commit();
}

}  // namespace platform_linux
