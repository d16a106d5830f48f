#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "tests/desktop/virtual-camera/PixelFormat.h"

namespace virtual_camera {

using Bytes = std::vector<std::uint8_t>;

/// One plane of a raw frame, bytes.
struct PlaneLayout {
  std::size_t offset = 0;  ///< from the frame's first byte
  std::size_t stride = 0;
  std::size_t size = 0;
};

/// How the samples of a frame lie in memory; all planes follow one another without a gap.
struct FrameLayout {
  PixelFormat format = PixelFormat::kYuy2;
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  std::vector<PlaneLayout> planes;
  std::size_t size = 0;

  std::size_t stride() const { return planes.front().stride; }
};

/// `padding` bytes end each row of the first plane, and as many for each pixel column that a chroma sample
/// stands for end the rows of the others. Compressed formats have one plane without a stride, of the size
/// that a camera's driver would reserve (two bytes a pixel).
FrameLayout frameLayout(PixelFormat format, std::uint32_t width, std::uint32_t height,
                        std::size_t padding = 0);

}  // namespace virtual_camera
