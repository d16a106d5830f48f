#pragma once

#include "picture/Frame.h"
#include "picture/PixelRows.h"
#include "picture/PixelSize.h"

namespace picture {

/// The smallest of the decoder's scales of `picture`, eighths of its size, that covers `covered`.
PixelSize scaledJpegSize(PixelSize picture, PixelSize covered);

/// Decodes the frame into `rows`, whose size is one of scaledJpegSize's answers for it. False when the frame
/// is damaged or its header tells another size than the frame does; the pixels are then undefined.
bool decodeScaledJpeg(const Frame& frame, PixelRows& rows);

}  // namespace picture
