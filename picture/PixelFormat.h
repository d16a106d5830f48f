#pragma once

#include <array>
#include <cstdint>

namespace picture {

/// How a frame's bytes make pixels. The names are those of the video world: bytes in memory order, words with
/// their highest bits first; words of 16 bits are little-endian unless the name ends in BE.
enum class PixelFormat : std::uint8_t {
  MJPG,
  YUY2,
  UYVY,
  YVYU,
  VYUY,
  NV12,
  NV21,
  NV16,
  NV61,
  NV24,
  NV42,
  I420,
  YV12,
  Y42B,
  YV16,
  Y444,
  YV24,
  AYUV,
  VUYA,
  YUVA,
  v308,
  IYU2,
  P010,
  I420_10,
  I422_10,
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
  RGB16_BE,
  RGB15,
  BGR15,
  RGB12,
  GRAY8,
  GRAY10,
  GRAY12,
  GRAY16,
  GRAY16_BE,
};

inline constexpr std::array kAllPixelFormats = {
    PixelFormat::MJPG,      PixelFormat::YUY2,   PixelFormat::UYVY,   PixelFormat::YVYU,
    PixelFormat::VYUY,      PixelFormat::NV12,   PixelFormat::NV21,   PixelFormat::NV16,
    PixelFormat::NV61,      PixelFormat::NV24,   PixelFormat::NV42,   PixelFormat::I420,
    PixelFormat::YV12,      PixelFormat::Y42B,   PixelFormat::YV16,   PixelFormat::Y444,
    PixelFormat::YV24,      PixelFormat::AYUV,   PixelFormat::VUYA,   PixelFormat::YUVA,
    PixelFormat::v308,      PixelFormat::IYU2,   PixelFormat::P010,   PixelFormat::I420_10,
    PixelFormat::I422_10,   PixelFormat::RGB,    PixelFormat::BGR,    PixelFormat::RGBx,
    PixelFormat::BGRx,      PixelFormat::xRGB,   PixelFormat::xBGR,   PixelFormat::RGBA,
    PixelFormat::BGRA,      PixelFormat::ARGB,   PixelFormat::ABGR,   PixelFormat::RGB16,
    PixelFormat::RGB16_BE,  PixelFormat::RGB15,  PixelFormat::BGR15,  PixelFormat::RGB12,
    PixelFormat::GRAY8,     PixelFormat::GRAY10, PixelFormat::GRAY12, PixelFormat::GRAY16,
    PixelFormat::GRAY16_BE,
};

}  // namespace picture
