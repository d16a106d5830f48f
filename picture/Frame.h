#pragma once

#include <chrono>
#include <cstdint>
#include <vector>

namespace picture {

/// How a frame's bytes make pixels. The names are those of the video world: bytes in memory order.
enum class PixelFormat { MJPG, YUY2, UYVY, NV12, I420, RGB, BGR, RGBx, BGRx };

/// How luma and colour difference become red, green and blue.
enum class ColorMatrix { BT601, BT709 };
/// Whether luma runs from 16 to 235 or from 0 to 255.
enum class ColorRange { Limited, Full };

/// One picture as a camera sent it. Immutable once shared.
struct Frame {
  PixelFormat format = PixelFormat::MJPG;
  int width = 0;   ///< pixels
  int height = 0;  ///< pixels
  int stride = 0;  ///< bytes from row to row of the first plane; 0 for MJPG
  ColorMatrix matrix = ColorMatrix::BT601;
  ColorRange range = ColorRange::Limited;
  std::vector<std::uint8_t> bytes;
  std::chrono::system_clock::time_point captured;  ///< when the frame arrived
  std::uint64_t sequence = 0;                      ///< counts the frames of one session, from 0
};

}  // namespace picture
