#pragma once

#include <chrono>
#include <cstdint>
#include <vector>

#include "picture/PixelFormat.h"

namespace picture {

/// How luma and colour difference become red, green and blue (ITU-T H.273, table 4).
enum class ColorMatrix { BT601, BT709, BT2020, FCC, SMPTE240M };
/// Whether levels run over the studio range, 16 to 235 for 8 bits, or over all values. Unstated is what the
/// format's cameras mean by it: limited for Y'CbCr, full for RGB and grey.
enum class ColorRange { Unstated, Limited, Full };

/// What was done to the upright picture before it was stored: rotated counterclockwise by that many degrees,
/// after it was mirrored left to right if flipped. Whoever shows the picture undoes it. The values and their
/// order are those of PipeWire's `spa_meta_videotransform_value`.
enum class Transform : std::uint8_t {
  None,
  Rotated90,
  Rotated180,
  Rotated270,
  Flipped,
  Flipped90,
  Flipped180,
  Flipped270,
};

/// One picture as a camera sent it. Immutable once shared.
struct Frame {
  PixelFormat format = PixelFormat::MJPG;
  int width = 0;   ///< pixels, as stored
  int height = 0;  ///< pixels, as stored
  int stride = 0;  ///< bytes from row to row of the first plane; 0 for MJPG. See PixelLayout for the others.
  ColorMatrix matrix = ColorMatrix::BT601;
  ColorRange range = ColorRange::Unstated;
  Transform transform = Transform::None;
  /// Known to have lost pixels, and wanted all the same as no whole frame was to be had: what there is is
  /// decoded.
  bool isDamaged = false;
  std::vector<std::uint8_t> bytes;                 ///< plane after plane, without gaps
  std::chrono::system_clock::time_point captured;  ///< when the frame arrived
  std::uint64_t sequence = 0;                      ///< counts the frames of one session, from 0
};

}  // namespace picture
