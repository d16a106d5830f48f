#pragma once

#include <cstdint>
#include <span>

#include "tests/desktop/virtual-camera/Colorimetry.h"
#include "tests/desktop/virtual-camera/FrameLayout.h"
#include "tests/desktop/virtual-camera/TestPicture.h"

namespace virtual_camera {

struct DecodedJpeg {
  RgbPicture picture;
  long warnings = 0;  ///< that libjpeg gave
};
DecodedJpeg decodeJpeg(std::span<const std::uint8_t> bytes);

/// Decodes a raw frame by the textbook inverse of the matrix.
RgbPicture decodeRaw(std::span<const std::uint8_t> bytes, const FrameLayout& layout,
                     const Colorimetry& colorimetry);

}  // namespace virtual_camera
