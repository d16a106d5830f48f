#pragma once

#include "tests/desktop/virtual-camera/FrameLayout.h"
#include "tests/desktop/virtual-camera/JpegStyle.h"
#include "tests/desktop/virtual-camera/TestPicture.h"

namespace virtual_camera {

/// A JPEG as the camera sends it, oddities included.
Bytes encodeJpeg(const RgbPicture& picture, const JpegStyle& style);

/// A frame of which packets were lost: two fifths of its scan are missing from the middle, both of its ends
/// are there.
Bytes damagedJpeg(const Bytes& jpeg);

}  // namespace virtual_camera
