#pragma once

#include "picture/Frame.h"
#include "picture/PixelRows.h"
#include "picture/PixelSize.h"

namespace picture {

/// `picture` divided by the largest whole factor that still covers `covered`.
[[nodiscard]] PixelSize scaledRawSize(PixelSize picture, PixelSize covered);

/// Converts the raw frame into `rows`, whose size is one of scaledRawSize's answers for it. False when the
/// frame has fewer bytes than its size needs; the pixels are then undefined.
[[nodiscard]] bool decodeScaledRaw(const Frame& frame, PixelRows& rows);

}  // namespace picture
