#pragma once

#include <cstdint>
#include <linux/videodev2.h>
#include <optional>

#include "platform/linux/camera/FrameBuffer.h"

namespace platform_linux {

/// The format with that four-character code, as the kernel's "Image Formats" pages define it; nothing when it
/// cannot be decoded here (H.264, the bare mosaic of a sensor).
[[nodiscard]] std::optional<picture::PixelFormat> pixelFormatOfCode(std::uint32_t code);

/// What a device states of colours; the fields of that name in both of V4L2's descriptions of a picture.
struct StatedColors {
  std::uint32_t colorspace = V4L2_COLORSPACE_DEFAULT;
  std::uint32_t encoding = V4L2_YCBCR_ENC_DEFAULT;
  std::uint32_t quantization = V4L2_QUANTIZATION_DEFAULT;
};

/// Fills in the matrix and the range of `frame`, whose pixel format is known. What is not stated follows from
/// the colorspace as the kernel's "Defining Colorspaces in V4L2" has it; without one it is BT.601, limited
/// range for Y'CbCr.
void applyColors(const StatedColors& stated, FrameFormat& frame);

}  // namespace platform_linux
