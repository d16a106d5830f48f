#pragma once

#include <array>
#include <vector>

#include "picture/Frame.h"

namespace camera_shot_test {

/// A frame of `format` full of noise, `padding` bytes behind every row of its first plane.
picture::Frame noiseFrame(picture::PixelFormat format, int width, int height, int padding,
                          std::uint32_t seed);

/// The bytes that a frame of that size and stride has, padding included.
std::size_t frameBytes(const picture::Frame& frame);

/// All but MJPG.
std::vector<picture::PixelFormat> rawFormats();

/// A name for a test's parameter.
const char* nameOf(picture::PixelFormat format);

bool isYuv(picture::PixelFormat format);

/// What the pixel shows by the definition of format, matrix and range, in floating point, 0 to 255; slow.
/// Colour difference is interpolated between its samples, which lie on the even pixels of a row and midway
/// between two rows.
std::array<double, 3> exactRgb(const picture::Frame& frame, int x, int y);

/// Stores the colour at that pixel, as nearly as the format can.
void paintPixel(picture::Frame& frame, int x, int y, const std::array<double, 3>& rgb);

}  // namespace camera_shot_test
