#pragma once

#include "platform/linux/image/Frame.h"
#include "platform/linux/ui/PixelRows.h"
#include "platform/linux/ui/PixelSize.h"

namespace platform_linux {

/// `picture` divided by the largest whole factor that still covers `covered`.
PixelSize scaledRawSize(PixelSize picture, PixelSize covered);

/// Converts the raw frame into `rows`, whose size is one of scaledRawSize's answers for it. False when the
/// frame has fewer bytes than its size needs; the pixels are then undefined.
bool decodeScaledRaw(const Frame& frame, PixelRows& rows);

}  // namespace platform_linux
