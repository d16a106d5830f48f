#include "platform/linux/camera/v4l2/DeviceFormats.h"

#include <algorithm>
#include <array>
#include <utility>

#include "picture/PixelLayout.h"

namespace platform_linux {
namespace {

using enum picture::PixelFormat;

// The kernel names formats of 32 bits by their order in a little-endian word, and 24 bits in memory order.
// Those that end in M have a block of memory for each plane. What only test drivers offer, or nobody but
// chips whose pictures lie in tiles, is left out, as are 4:1:1 and 4:1:0, which television cards offer beside
// 4:2:2 at best.
constexpr std::array kFormats{
    std::pair{V4L2_PIX_FMT_MJPEG, MJPG},    std::pair{V4L2_PIX_FMT_JPEG, MJPG},
    std::pair{V4L2_PIX_FMT_YUYV, YUY2},     std::pair{V4L2_PIX_FMT_UYVY, UYVY},
    std::pair{V4L2_PIX_FMT_YVYU, YVYU},     std::pair{V4L2_PIX_FMT_VYUY, VYUY},
    std::pair{V4L2_PIX_FMT_NV12, NV12},     std::pair{V4L2_PIX_FMT_NV12M, NV12},
    std::pair{V4L2_PIX_FMT_NV21, NV21},     std::pair{V4L2_PIX_FMT_NV21M, NV21},
    std::pair{V4L2_PIX_FMT_NV16, NV16},     std::pair{V4L2_PIX_FMT_NV16M, NV16},
    std::pair{V4L2_PIX_FMT_NV61, NV61},     std::pair{V4L2_PIX_FMT_NV61M, NV61},
    std::pair{V4L2_PIX_FMT_NV24, NV24},     std::pair{V4L2_PIX_FMT_NV42, NV42},
    std::pair{V4L2_PIX_FMT_YUV420, I420},   std::pair{V4L2_PIX_FMT_YUV420M, I420},
    std::pair{V4L2_PIX_FMT_YVU420, YV12},   std::pair{V4L2_PIX_FMT_YVU420M, YV12},
    std::pair{V4L2_PIX_FMT_YUV422P, Y42B},  std::pair{V4L2_PIX_FMT_YUV422M, Y42B},
    std::pair{V4L2_PIX_FMT_YVU422M, YV16},  std::pair{V4L2_PIX_FMT_YUV444M, Y444},
    std::pair{V4L2_PIX_FMT_YVU444M, YV24},  std::pair{V4L2_PIX_FMT_YUV32, AYUV},
    std::pair{V4L2_PIX_FMT_AYUV32, AYUV},   std::pair{V4L2_PIX_FMT_XYUV32, AYUV},
    std::pair{V4L2_PIX_FMT_VUYA32, VUYA},   std::pair{V4L2_PIX_FMT_VUYX32, VUYA},
    std::pair{V4L2_PIX_FMT_YUVA32, YUVA},   std::pair{V4L2_PIX_FMT_YUVX32, YUVA},
    std::pair{V4L2_PIX_FMT_YUV24, v308},    std::pair{V4L2_PIX_FMT_P010, P010},
    std::pair{V4L2_PIX_FMT_RGB24, RGB},     std::pair{V4L2_PIX_FMT_BGR24, BGR},
    std::pair{V4L2_PIX_FMT_RGBX32, RGBx},   std::pair{V4L2_PIX_FMT_XBGR32, BGRx},
    std::pair{V4L2_PIX_FMT_BGR32, BGRx},    std::pair{V4L2_PIX_FMT_XRGB32, xRGB},
    std::pair{V4L2_PIX_FMT_RGB32, xRGB},    std::pair{V4L2_PIX_FMT_BGRX32, xBGR},
    std::pair{V4L2_PIX_FMT_RGBA32, RGBA},   std::pair{V4L2_PIX_FMT_ABGR32, BGRA},
    std::pair{V4L2_PIX_FMT_ARGB32, ARGB},   std::pair{V4L2_PIX_FMT_BGRA32, ABGR},
    std::pair{V4L2_PIX_FMT_RGB565, RGB16},  std::pair{V4L2_PIX_FMT_RGB565X, RGB16_BE},
    std::pair{V4L2_PIX_FMT_RGB555, RGB15},  std::pair{V4L2_PIX_FMT_XRGB555, RGB15},
    std::pair{V4L2_PIX_FMT_ARGB555, RGB15}, std::pair{V4L2_PIX_FMT_XBGR555, BGR15},
    std::pair{V4L2_PIX_FMT_ABGR555, BGR15}, std::pair{V4L2_PIX_FMT_RGB444, RGB12},
    std::pair{V4L2_PIX_FMT_XRGB444, RGB12}, std::pair{V4L2_PIX_FMT_ARGB444, RGB12},
    std::pair{V4L2_PIX_FMT_GREY, GRAY8},    std::pair{V4L2_PIX_FMT_Y10, GRAY10},
    std::pair{V4L2_PIX_FMT_Y12, GRAY12},    std::pair{V4L2_PIX_FMT_Y16, GRAY16},
    std::pair{V4L2_PIX_FMT_Y14, GRAY14},    std::pair{V4L2_PIX_FMT_Y16_BE, GRAY16_BE},
};

// What V4L2_MAP_YCBCR_ENC_DEFAULT says, without its casts in the way of C.
std::uint32_t usualEncoding(std::uint32_t colorspace) {
  switch (colorspace) {
    case V4L2_COLORSPACE_REC709:
    case V4L2_COLORSPACE_DCI_P3:
      return V4L2_YCBCR_ENC_709;
    case V4L2_COLORSPACE_BT2020:
      return V4L2_YCBCR_ENC_BT2020;
    case V4L2_COLORSPACE_SMPTE240M:
      return V4L2_YCBCR_ENC_SMPTE240M;
    default:
      return V4L2_YCBCR_ENC_601;
  }
}

picture::ColorMatrix matrixOf(std::uint32_t encoding) {
  switch (encoding) {
    case V4L2_YCBCR_ENC_709:
    case V4L2_YCBCR_ENC_XV709:
      return picture::ColorMatrix::BT709;
    case V4L2_YCBCR_ENC_BT2020:
    case V4L2_YCBCR_ENC_BT2020_CONST_LUM:
      return picture::ColorMatrix::BT2020;
    case V4L2_YCBCR_ENC_SMPTE240M:
      return picture::ColorMatrix::SMPTE240M;
    default:
      return picture::ColorMatrix::BT601;
  }
}

picture::ColorRange rangeOf(const StatedColors& stated, picture::ColorModel model) {
  if (stated.quantization == V4L2_QUANTIZATION_FULL_RANGE) return picture::ColorRange::Full;
  if (stated.quantization == V4L2_QUANTIZATION_LIM_RANGE) return picture::ColorRange::Limited;
  const bool isFull = model != picture::ColorModel::Yuv || stated.colorspace == V4L2_COLORSPACE_JPEG;
  return isFull ? picture::ColorRange::Full : picture::ColorRange::Limited;
}

}  // namespace

std::optional<picture::PixelFormat> pixelFormatOfCode(std::uint32_t code) {
  const auto* const found =
      std::find_if(kFormats.begin(), kFormats.end(), [&](auto& each) { return each.first == code; });
  if (found == kFormats.end()) return {};
  return found->second;
}

void applyColors(const StatedColors& stated, FrameFormat& frame) {
  const std::uint32_t encoding =
      stated.encoding != V4L2_YCBCR_ENC_DEFAULT ? stated.encoding : usualEncoding(stated.colorspace);
  frame.matrix = matrixOf(encoding);
  frame.range = rangeOf(stated, picture::PixelLayout::of(frame.format).model);
}

}  // namespace platform_linux
