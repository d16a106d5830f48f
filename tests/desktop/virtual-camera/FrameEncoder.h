#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "tests/desktop/virtual-camera/CameraSpec.h"
#include "tests/desktop/virtual-camera/TestPicture.h"

namespace virtual_camera {

using Bytes = std::vector<std::uint8_t>;

/// How the rows of a raw picture lie in memory, bytes; all planes follow one another without a gap.
struct FrameLayout {
  PixelFormat format = PixelFormat::kYuy2;
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  std::size_t stride = 0;
  std::size_t size = 0;
};

/// For MJPG, stride is 0 and size is the room that a camera's driver would reserve (two bytes a pixel).
FrameLayout frameLayout(PixelFormat format, std::uint32_t width, std::uint32_t height);

/// A baseline JPEG with chroma halved horizontally, as most webcams make it.
Bytes encodeJpeg(const RgbPicture& picture, int quality);

/// Limited-range samples; BT.601 up to 576 lines, BT.709 above, as cameras and decoders take it when nothing
/// is stated.
Bytes encodeRaw(const RgbPicture& picture, const FrameLayout& layout);

/// Draws the counter into an encoded raw picture.
void drawCounterRaw(std::uint8_t* frame, const FrameLayout& layout, std::uint16_t count);

}  // namespace virtual_camera
