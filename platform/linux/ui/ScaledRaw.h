#pragma once

#include <cstdint>
#include <span>

#include "platform/linux/ui/PreviewDecoder.h"

namespace platform_linux {

/// `picture` divided by the largest whole factor that still covers `covered`.
PixelSize scaledRawSize(PixelSize picture, PixelSize covered);

/// Converts the raw frame into pixels of `size`, one of scaledRawSize's answers for it. False when the frame
/// has fewer bytes than its size needs; `pixels` is then undefined.
bool decodeScaledRaw(const Frame& frame, PixelSize size, std::span<std::uint8_t> pixels);

}  // namespace platform_linux
