#include "picture/FrameOrientation.h"

#include "picture/ExifBlock.h"
#include "picture/JpegMarkers.h"

namespace picture {

Orientation uprightOrientation(std::span<const std::uint8_t> jpeg) {
  const auto exif = exifOfJpeg(jpeg);
  return exif && exif->orientation ? *exif->orientation : Orientation::kUpright;
}

Orientation uprightOrientation(const Frame& frame) {
  const bool asksStream = frame.transform == Transform::None && frame.format == PixelFormat::MJPG;
  return asksStream ? uprightOrientation(frame.bytes) : undoing(frame.transform);
}

PixelSize storedSize(const Frame& frame) {
  if (frame.format == PixelFormat::MJPG)
    if (const auto size = sizeOfJpeg(frame.bytes)) return *size;
  return {frame.width, frame.height};
}

PixelSize uprightSize(const Frame& frame) {
  return uprightOrientation(frame).sizeOf(storedSize(frame));
}

}  // namespace picture
