#pragma once

#include "tests/desktop/virtual-camera/TestPicture.h"

namespace virtual_camera {

/// What a camera has done to the upright picture before it lies in a buffer: flipped left to right, then
/// turned counter-clockwise. The numbers are those of `spa_meta_videotransform_value`.
enum class Transform { kNone, k90, k180, k270, kFlipped, kFlipped90, kFlipped180, kFlipped270 };

/// Whether width and height are exchanged.
constexpr bool isSideways(Transform transform) {
  return static_cast<unsigned>(transform) % 2 == 1;
}

RgbPicture transformed(const RgbPicture& upright, Transform transform);

}  // namespace virtual_camera
