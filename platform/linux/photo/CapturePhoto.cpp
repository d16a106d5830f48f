#include "platform/linux/photo/CapturePhoto.h"

#include <vector>

#include "picture/ExifBlock.h"
#include "picture/JpegMarkers.h"
#include "platform/linux/storage/AtomicFile.h"

namespace platform_linux {
namespace {

/// The frame as a file: a JPEG stream says how it is to be shown and when it was taken, every other byte as
/// it came.
std::vector<std::uint8_t> fileBytes(const picture::Frame& frame, bool mirrored) {
  if (frame.format != picture::PixelFormat::MJPG) return frame.bytes;
  const picture::ExifBlock exif{mirrored ? picture::Orientation::kMirrored : picture::Orientation::kUpright,
                                frame.captured};
  return picture::jpegWithExif(frame.bytes, exif).value_or(frame.bytes);
}

}  // namespace

bool CapturedPicture::writeToFile(const std::string& path, bool) const {
  // Whole or not at all also when nobody asks for it: there is no harm in it.
  int error = 0;
  const auto file = AtomicFile::open(path, error);
  return file && file->write(fileBytes(*frame_, mirrored_)) && file->commit();
}

}  // namespace platform_linux
