#include "picture/PhotoRows.h"

#include "picture/FrameOrientation.h"
#include "picture/JpegDecoder.h"
#include "picture/OrientedRowSource.h"
#include "picture/RawRowSource.h"

namespace picture {

std::unique_ptr<RowSource> openPhotoRows(const Frame& frame, bool mirrored, std::string& whyNot) {
  std::unique_ptr<RowSource> stored;
  if (frame.format == PixelFormat::MJPG) {
    const auto damage = frame.isDamaged ? JpegDecoder::Damage::Filled : JpegDecoder::Damage::Fails;
    stored = JpegDecoder::open(frame.bytes, {.damage = damage}, whyNot);
  } else {
    stored = RawRowSource::open(frame, whyNot);
  }
  const Orientation upright = uprightOrientation(frame);
  return oriented(std::move(stored), mirrored ? upright.thenMirrored() : upright);
}

std::unique_ptr<RowSource> openJpegRows(std::span<const std::uint8_t> jpeg, std::string& whyNot) {
  return oriented(JpegDecoder::open(jpeg, {}, whyNot), uprightOrientation(jpeg));
}

}  // namespace picture
