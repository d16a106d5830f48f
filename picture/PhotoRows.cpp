#include "picture/PhotoRows.h"

#include "picture/JpegRowSource.h"
#include "picture/OrientedRowSource.h"
#include "picture/RawRowSource.h"

namespace picture {

std::unique_ptr<RowSource> openPhotoRows(const Frame& frame, bool mirrored, std::string& failure) {
  std::unique_ptr<RowSource> stored;
  if (frame.format == PixelFormat::MJPG) {
    stored = JpegRowSource::open(frame.bytes, failure);
  } else {
    stored = RawRowSource::open(frame, failure);
  }
  const Orientation upright = undoing(frame.transform);
  return oriented(std::move(stored), mirrored ? upright.thenMirrored() : upright);
}

}  // namespace picture
