#pragma once

#include <cstdint>
#include <span>

#include "platform/linux/ui/PreviewDecoder.h"

namespace platform_linux {

/// The smallest of the decoder's scales of `picture`, eighths of its size, that covers `covered`.
PixelSize scaledJpegSize(PixelSize picture, PixelSize covered);

/// Decodes the frame into pixels of `size`, one of scaledJpegSize's answers for it. False when the frame is
/// damaged or its header tells another size than the frame does; `pixels` is then undefined.
bool decodeScaledJpeg(const Frame& frame, PixelSize size, std::span<std::uint8_t> pixels);

}  // namespace platform_linux
