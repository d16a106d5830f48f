#pragma once

#include "picture/Frame.h"
#include "picture/PixelRows.h"
#include "picture/PixelSize.h"

namespace picture {

/// The smallest of the decoder's scales of `picture`, eighths of its size, that covers `covered`.
[[nodiscard]] PixelSize scaledJpegSize(PixelSize picture, PixelSize covered);

/// Decodes the frame, whose stored size is `picture`, into `rows`, whose size is one of scaledJpegSize's
/// answers for it. False when it is damaged and not known to be; the pixels are then undefined.
[[nodiscard]] bool decodeScaledJpeg(const Frame& frame, PixelSize picture, PixelRows& rows);

}  // namespace picture
