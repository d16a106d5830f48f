#pragma once

#include <span>

#include "picture/Frame.h"
#include "picture/Orientation.h"
#include "picture/PixelSize.h"

namespace picture {

/// What makes the frame's stored pixels upright: what undoes the transform that the camera states with it or,
/// when it states none, what its JPEG stream says in itself. Both say the same thing where both are there.
[[nodiscard]] Orientation uprightOrientation(const Frame& frame);
[[nodiscard]] Orientation uprightOrientation(std::span<const std::uint8_t> jpeg);

/// The size of the stored pixels: of a JPEG frame what its stream says, as cameras send a few frames of the
/// old size after a change of mode; else, and where the stream says nothing, what the frame says.
[[nodiscard]] PixelSize storedSize(const Frame& frame);

/// The size of the picture as seen.
[[nodiscard]] PixelSize uprightSize(const Frame& frame);

}  // namespace picture
