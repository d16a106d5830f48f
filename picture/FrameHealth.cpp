#include "picture/FrameHealth.h"

#include <string>
#include <vector>

#include "picture/JpegDecoder.h"
#include "picture/PixelLayout.h"

namespace picture {
namespace {

// At an eighth of the size the decoder reads every code but computes next to nothing.
FrameHealth examineJpeg(const Frame& frame) {
  std::string whyNot;
  const auto decoder = JpegDecoder::open(frame.bytes,
                                         {.pixels = JpegDecoder::Pixels::Luma,
                                          .eighths = 1,
                                          .damage = JpegDecoder::Damage::Filled,
                                          .isExact = false},
                                         whyNot);
  if (!decoder) return {FrameCondition::NotAPicture, 1, whyNot};
  std::vector<std::uint8_t> row(decoder->width());
  if (!decoder->skipToLastRow() || !decoder->readRow(row.data()))
    return {FrameCondition::NotAPicture, 1, decoder->failure()};
  const double lost = decoder->lostPart();
  if (lost > 0) return {FrameCondition::Damaged, lost, "parts of it are missing"};
  return {FrameCondition::Whole, 0, {}};
}

}  // namespace

FrameHealth examineFrame(const Frame& frame) {
  if (frame.format == PixelFormat::MJPG) return examineJpeg(frame);
  std::string whyNot;
  if (!planesOf(frame, whyNot)) return {FrameCondition::NotAPicture, 1, whyNot};
  return {FrameCondition::Whole, 0, {}};
}

}  // namespace picture
