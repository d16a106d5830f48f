#pragma once

#include "tests/desktop/virtual-camera/Colorimetry.h"
#include "tests/desktop/virtual-camera/FrameLayout.h"
#include "tests/desktop/virtual-camera/TestPicture.h"

namespace virtual_camera {

/// A raw frame of `picture`; each chroma sample is the mean of its pixels. Padding and unused bytes hold a
/// pattern that is seen when it is taken for picture.
Bytes encodeRaw(const RgbPicture& picture, const FrameLayout& layout, const Colorimetry& colorimetry);

/// Draws the counter into an encoded raw picture.
void drawCounterRaw(std::uint8_t* frame, const FrameLayout& layout, const Colorimetry& colorimetry,
                    std::uint16_t count);

}  // namespace virtual_camera
