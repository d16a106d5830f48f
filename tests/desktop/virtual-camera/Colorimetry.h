#pragma once

#include "tests/desktop/virtual-camera/PixelFormat.h"

namespace virtual_camera {

/// How YUV samples stand for colours, and whether the camera tells.
struct Colorimetry {
  enum class Matrix { kBt601, kBt709, kBt2020, kSmpte240m };
  enum class Range { kLimited, kFull };

  bool stated = false;
  Matrix matrix = Matrix::kBt601;
  Range range = Range::kLimited;

  bool operator==(const Colorimetry&) const = default;
};

/// What holds for a format: grey that states nothing has the full range, as sensors give it.
constexpr Colorimetry colorimetryOf(PixelFormat format, Colorimetry colorimetry) {
  if (isGrey(format) && !colorimetry.stated) colorimetry.range = Colorimetry::Range::kFull;
  return colorimetry;
}

/// The weights of red and blue in luma.
struct LumaWeights {
  double red;
  double blue;
};

/// From ITU-R BT.601-7, BT.709-6, BT.2020-2 and SMPTE 240M.
constexpr LumaWeights lumaWeights(Colorimetry::Matrix matrix) {
  switch (matrix) {
    case Colorimetry::Matrix::kBt601:
      break;
    case Colorimetry::Matrix::kBt709:
      return {0.2126, 0.0722};
    case Colorimetry::Matrix::kBt2020:
      return {0.2627, 0.0593};
    case Colorimetry::Matrix::kSmpte240m:
      return {0.212, 0.087};
  }
  return {0.299, 0.114};
}

}  // namespace virtual_camera
