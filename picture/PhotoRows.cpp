#include "picture/PhotoRows.h"

#include <optional>
#include <utility>

#include "picture/FrameOrientation.h"
#include "picture/JpegDecoder.h"
#include "picture/OrientedRowSource.h"
#include "picture/RawRowSource.h"
#include "picture/RestartJpegRows.h"

namespace picture {
namespace {

// As JpegDecoder::open by its defaults; with as much to be done ahead as the stream's markers allow.
std::unique_ptr<RowSource> openSound(std::span<const std::uint8_t> jpeg, std::string& whyNot) {
  auto decoder = JpegDecoder::open(jpeg, {}, whyNot);
  auto restarts = decoder ? restartsOf(jpeg) : std::nullopt;
  const bool isSame =
      restarts && restarts->width == decoder->width() && restarts->height == decoder->height();
  if (!isSame) return decoder;
  return std::make_unique<RestartJpegRows>(jpeg, std::move(*restarts), std::move(decoder));
}

}  // namespace

std::unique_ptr<RowSource> openPhotoRows(const Frame& frame, bool mirrored, std::string& whyNot) {
  std::unique_ptr<RowSource> stored;
  if (frame.format == PixelFormat::MJPG) {
    stored = frame.isDamaged ? JpegDecoder::open(frame.bytes, {.damage = JpegDecoder::Damage::Filled}, whyNot)
                             : openSound(frame.bytes, whyNot);
  } else {
    stored = RawRowSource::open(frame, whyNot);
  }
  const Orientation upright = uprightOrientation(frame);
  return oriented(std::move(stored), mirrored ? upright.thenMirrored() : upright);
}

std::unique_ptr<RowSource> openJpegRows(std::span<const std::uint8_t> jpeg, std::string& whyNot) {
  return oriented(openSound(jpeg, whyNot), uprightOrientation(jpeg));
}

}  // namespace picture
