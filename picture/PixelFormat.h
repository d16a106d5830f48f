#pragma once

#include <array>
#include <cstdint>

namespace picture {

/// How a frame's bytes make pixels. The names are those of the video world: bytes in memory order.
enum class PixelFormat : std::uint8_t {
  MJPG,
  YUY2,
  UYVY,
  YVYU,
  VYUY,
  NV12,
  NV21,
  NV16,
  NV24,
  I420,
  YV12,
  Y42B,
  Y444,
  P010,
  RGB,
  BGR,
  RGBx,
  BGRx,
  xRGB,
  xBGR,
  RGBA,
  BGRA,
  ARGB,
  ABGR,
  RGB16,
  GRAY8,
  GRAY16,
};

inline constexpr std::array kAllPixelFormats = {
    PixelFormat::MJPG,  PixelFormat::YUY2,   PixelFormat::UYVY, PixelFormat::YVYU, PixelFormat::VYUY,
    PixelFormat::NV12,  PixelFormat::NV21,   PixelFormat::NV16, PixelFormat::NV24, PixelFormat::I420,
    PixelFormat::YV12,  PixelFormat::Y42B,   PixelFormat::Y444, PixelFormat::P010, PixelFormat::RGB,
    PixelFormat::BGR,   PixelFormat::RGBx,   PixelFormat::BGRx, PixelFormat::xRGB, PixelFormat::xBGR,
    PixelFormat::RGBA,  PixelFormat::BGRA,   PixelFormat::ARGB, PixelFormat::ABGR, PixelFormat::RGB16,
    PixelFormat::GRAY8, PixelFormat::GRAY16,
};

}  // namespace picture
