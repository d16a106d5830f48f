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
  if (!decoder) return {};
  std::vector<std::uint8_t> row(decoder->width());
  if (!decoder->skipToLastRow() || !decoder->readRow(row.data())) return {};
  const double lost = decoder->lostPart();
  return {lost > 0 ? FrameCondition::Damaged : FrameCondition::Whole, lost};
}

}  // namespace

FrameHealth examineFrame(const Frame& frame) {
  if (frame.format == PixelFormat::MJPG) return examineJpeg(frame);
  std::string whyNot;
  if (!planesOf(frame, whyNot)) return {};
  return {FrameCondition::Whole, 0};
}

}  // namespace picture
