#pragma once

#include <cstdint>
#include <span>

#include "tests/desktop/virtual-camera/FrameEncoder.h"
#include "tests/desktop/virtual-camera/TestPicture.h"

namespace virtual_camera {

/// Decodes a JPEG by libjpeg. Throws std::runtime_error for data that libjpeg warns about, such as a cut
/// picture.
RgbPicture decodeJpeg(std::span<const std::uint8_t> bytes);

/// Decodes a raw frame by the textbook inverse of the matrix that its height stands for.
RgbPicture decodeRaw(std::span<const std::uint8_t> bytes, const FrameLayout& layout);

}  // namespace virtual_camera
