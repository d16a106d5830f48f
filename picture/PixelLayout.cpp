#include "picture/PixelLayout.h"

#include <algorithm>

#include "picture/CeilDivide.h"
#include "picture/PixelSize.h"

namespace picture {
namespace {

using Plane = PixelLayout::Plane;
using Component = PixelLayout::Component;

constexpr PixelLayout compressed() {
  return {PixelFormat::MJPG, "MJPG", ColorModel::Compressed, 8, 0, {}, {}, 0, 0};
}

// Two pixels in four bytes; luma every second byte, the colour differences every fourth.
constexpr PixelLayout packed(PixelFormat format, std::string_view name, std::uint8_t luma, std::uint8_t blue,
                             std::uint8_t red) {
  return {format,
          name,
          ColorModel::Yuv,
          8,
          1,
          {Plane{4, 1, 0}},
          {Component{0, luma, 2}, Component{0, blue, 4}, Component{0, red, 4}},
          1,
          0};
}

// As UYVY, of more bits: a word each.
constexpr PixelLayout packedWords(PixelFormat format, std::string_view name) {
  PixelLayout layout = packed(format, name, 2, 0, 4);
  layout.bits = 16;
  layout.planes[0].groupBytes = 8;
  for (Component& component : layout.components)
    component.step *= 2;
  return layout;
}

// As UYVY, of ten bits, packed closer than in words.
constexpr PixelLayout packedTens(PixelFormat format, std::string_view name, PixelLayout::Packing packing) {
  PixelLayout layout = packed(format, name, 1, 0, 2);
  layout.bits = 10;
  layout.planes[0] = packing == PixelLayout::Packing::Threes ? Plane{16, 0, 0} : Plane{5, 1, 0};
  layout.word.packing = packing;
  return layout;
}

// All three components for each pixel, in groups of `step` bytes.
constexpr PixelLayout packed444(PixelFormat format, std::string_view name, std::uint8_t step,
                                std::uint8_t luma, std::uint8_t blue, std::uint8_t red,
                                std::uint8_t bits = 8) {
  return {format,
          name,
          ColorModel::Yuv,
          bits,
          1,
          {Plane{step, 0, 0}},
          {Component{0, luma, step}, Component{0, blue, step}, Component{0, red, step}},
          0,
          0};
}

// A plane of luma, then one with both colour differences, `blue` being 0 where blue comes first. Ten bits lie
// in the upper part of their words.
constexpr PixelLayout semiPlanar(PixelFormat format, std::string_view name, std::uint8_t across,
                                 std::uint8_t down, std::uint8_t blue, std::uint8_t bits = 8,
                                 bool isBigEndian = false) {
  const std::uint8_t bytes = bits > 8 ? 2 : 1;
  const auto pair = static_cast<std::uint8_t>(2 * bytes);
  return {format,
          name,
          ColorModel::Yuv,
          bits,
          2,
          {Plane{bytes, 0, 0}, Plane{pair, across, down}},
          {Component{0, 0, bytes}, Component{1, static_cast<std::uint8_t>(blue * bytes), pair},
           Component{1, static_cast<std::uint8_t>((1 - blue) * bytes), pair}},
          across,
          down,
          {isBigEndian, static_cast<std::uint8_t>(8 * bytes - bits)}};
}

// A plane each; blue difference in the plane `blue`, 1 or 2. More than eight bits lie in the lower part of
// their words.
constexpr PixelLayout planar(PixelFormat format, std::string_view name, std::uint8_t across,
                             std::uint8_t down, std::uint8_t blue = 1, std::uint8_t bits = 8,
                             bool isBigEndian = false) {
  const std::uint8_t bytes = bits > 8 ? 2 : 1;
  const auto red = static_cast<std::uint8_t>(3 - blue);
  return {format,
          name,
          ColorModel::Yuv,
          bits,
          3,
          {Plane{bytes, 0, 0}, Plane{bytes, across, down}, Plane{bytes, across, down}},
          {Component{0, 0, bytes}, Component{blue, 0, bytes}, Component{red, 0, bytes}},
          across,
          down,
          {isBigEndian}};
}

constexpr PixelLayout rgb(PixelFormat format, std::string_view name, std::uint8_t step, std::uint8_t red,
                          std::uint8_t green, std::uint8_t blue, std::uint8_t bits = 8) {
  return {format,
          name,
          ColorModel::Rgb,
          bits,
          1,
          {Plane{step, 0, 0}},
          {Component{0, red, step}, Component{0, green, step}, Component{0, blue, step}},
          0,
          0};
}

using Field = PixelLayout::Field;

constexpr PixelLayout rgbWord(PixelFormat format, std::string_view name, Field red, Field green, Field blue,
                              bool isBigEndian = false) {
  const std::uint8_t bytes = red.bits + green.bits + blue.bits > 16 ? 4 : 2;
  return {format, name, ColorModel::Rgb, green.bits,        1, {Plane{bytes, 0, 0}}, {},
          0,      0,    {isBigEndian},   {red, green, blue}};
}

constexpr PixelLayout grey(PixelFormat format, std::string_view name, std::uint8_t bits,
                           bool isBigEndian = false) {
  const std::uint8_t bytes = bits > 8 ? 2 : 1;
  return {format, name, ColorModel::Grey, bits, 1, {Plane{bytes, 0, 0}}, {Component{0, 0, bytes}},
          0,      0,    {isBigEndian}};
}

using enum PixelFormat;

constexpr std::array kLayouts = {
    compressed(),
    packed(YUY2, "YUY2", 0, 1, 3),
    packed(UYVY, "UYVY", 1, 0, 2),
    packed(YVYU, "YVYU", 0, 3, 1),
    packed(VYUY, "VYUY", 1, 2, 0),
    semiPlanar(NV12, "NV12", 1, 1, 0),
    semiPlanar(NV21, "NV21", 1, 1, 1),
    semiPlanar(NV16, "NV16", 1, 0, 0),
    semiPlanar(NV61, "NV61", 1, 0, 1),
    semiPlanar(NV24, "NV24", 0, 0, 0),
    semiPlanar(NV42, "NV42", 0, 0, 1),
    planar(I420, "I420", 1, 1),
    planar(YV12, "YV12", 1, 1, 2),
    planar(Y42B, "Y42B", 1, 0),
    planar(YV16, "YV16", 1, 0, 2),
    planar(Y444, "Y444", 0, 0),
    planar(YV24, "YV24", 0, 0, 2),
    packed444(AYUV, "AYUV", 4, 1, 2, 3),
    packed444(VUYA, "VUYA", 4, 2, 1, 0),
    packed444(YUVA, "YUVA", 4, 0, 1, 2),
    packed444(v308, "v308", 3, 0, 1, 2),
    packed444(IYU2, "IYU2", 3, 1, 0, 2),
    semiPlanar(P010, "P010", 1, 1, 0, 10),
    planar(I420_10, "I420_10", 1, 1, 1, 10),
    planar(I422_10, "I422_10", 1, 0, 1, 10),
    planar(Y444_10, "Y444_10", 0, 0, 1, 10),
    planar(I420_12, "I420_12", 1, 1, 1, 12),
    planar(I422_12, "I422_12", 1, 0, 1, 12),
    planar(Y444_12, "Y444_12", 0, 0, 1, 12),
    semiPlanar(P010_BE, "P010_BE", 1, 1, 0, 10, true),
    planar(I420_10BE, "I420_10BE", 1, 1, 1, 10, true),
    planar(I422_10BE, "I422_10BE", 1, 0, 1, 10, true),
    planar(Y444_10BE, "Y444_10BE", 0, 0, 1, 10, true),
    planar(I420_12BE, "I420_12BE", 1, 1, 1, 12, true),
    planar(I422_12BE, "I422_12BE", 1, 0, 1, 12, true),
    planar(Y444_12BE, "Y444_12BE", 0, 0, 1, 12, true),
    packedTens(v210, "v210", PixelLayout::Packing::Threes),
    packedTens(UYVP, "UYVP", PixelLayout::Packing::String),
    packedWords(v216, "v216"),
    packed444(AYUV64, "AYUV64", 8, 2, 4, 6, 16),
    rgb(RGB, "RGB", 3, 0, 1, 2),
    rgb(BGR, "BGR", 3, 2, 1, 0),
    rgb(RGBx, "RGBx", 4, 0, 1, 2),
    rgb(BGRx, "BGRx", 4, 2, 1, 0),
    rgb(xRGB, "xRGB", 4, 1, 2, 3),
    rgb(xBGR, "xBGR", 4, 3, 2, 1),
    rgb(RGBA, "RGBA", 4, 0, 1, 2),
    rgb(BGRA, "BGRA", 4, 2, 1, 0),
    rgb(ARGB, "ARGB", 4, 1, 2, 3),
    rgb(ABGR, "ABGR", 4, 3, 2, 1),
    rgbWord(RGB16, "RGB16", {11, 5}, {5, 6}, {0, 5}),
    rgbWord(RGB16_BE, "RGB16_BE", {11, 5}, {5, 6}, {0, 5}, true),
    rgbWord(RGB15, "RGB15", {10, 5}, {5, 5}, {0, 5}),
    rgbWord(BGR15, "BGR15", {0, 5}, {5, 5}, {10, 5}),
    rgbWord(RGB12, "RGB12", {8, 4}, {4, 4}, {0, 4}),
    rgbWord(xRGB_210, "xRGB_210", {20, 10}, {10, 10}, {0, 10}),
    rgbWord(xBGR_210, "xBGR_210", {0, 10}, {10, 10}, {20, 10}),
    rgbWord(RGBx_102, "RGBx_102", {22, 10}, {12, 10}, {2, 10}),
    rgbWord(BGRx_102, "BGRx_102", {2, 10}, {12, 10}, {22, 10}),
    rgbWord(r210, "r210", {20, 10}, {10, 10}, {0, 10}, true),
    rgb(ARGB64, "ARGB64", 8, 2, 4, 6, 16),
    grey(GRAY8, "GRAY8", 8),
    grey(GRAY10, "GRAY10", 10),
    grey(GRAY12, "GRAY12", 12),
    grey(GRAY14, "GRAY14", 14),
    grey(GRAY16, "GRAY16", 16),
    grey(GRAY16_BE, "GRAY16_BE", 16, true),
};

constexpr bool isInOrderOfFormats() {
  for (std::size_t i = 0; i < kLayouts.size(); ++i)
    if (kLayouts[i].format != kAllPixelFormats[i] || static_cast<std::size_t>(kAllPixelFormats[i]) != i)
      return false;
  return kLayouts.size() == kAllPixelFormats.size();
}
static_assert(isInOrderOfFormats());

constexpr std::size_t shifted(int size, std::uint8_t shift) {
  return (static_cast<std::size_t>(size) + (std::size_t{1} << shift) - 1) >> shift;
}

}  // namespace

const PixelLayout& PixelLayout::of(PixelFormat format) noexcept {
  return kLayouts[static_cast<std::size_t>(format)];
}

std::size_t PixelLayout::rowBytes(std::size_t plane, int width) const noexcept {
  constexpr std::size_t kPixelsInThrees = 6;
  if (word.packing == Packing::Threes)
    return planes[plane].groupBytes * ceilDivide(static_cast<std::size_t>(width), kPixelsInThrees);
  return planes[plane].groupBytes * shifted(width, planes[plane].across);
}

std::size_t PixelLayout::rows(std::size_t plane, int height) const noexcept {
  return shifted(height, planes[plane].down);
}

std::size_t PixelLayout::stride(std::size_t plane, std::size_t firstStride, int width) const noexcept {
  if (plane == 0) return firstStride;
  const std::size_t proportional =
      (firstStride * planes[plane].groupBytes / planes[0].groupBytes) >> planes[plane].across;
  return std::max(proportional, rowBytes(plane, width));
}

std::optional<std::array<PlaneRows, PixelLayout::kMaximumPlanes>> planesOf(const Frame& frame,
                                                                           std::string& whyNot) {
  const PixelLayout& layout = PixelLayout::of(frame.format);
  if (!isAcceptablePictureSize({frame.width, frame.height})) {
    whyNot = "Picture size is zero or too large";
    return {};
  }
  const auto firstStride = static_cast<std::size_t>(std::max(frame.stride, 0));
  if (layout.planeCount == 0 || firstStride < layout.rowBytes(0, frame.width)) {
    whyNot = "Rows are too short";
    return {};
  }
  std::array<PlaneRows, PixelLayout::kMaximumPlanes> planes;
  std::size_t begin = 0;
  for (std::size_t i = 0; i < layout.planeCount; ++i) {
    const std::size_t stride = layout.stride(i, firstStride, frame.width);
    const std::size_t rows = layout.rows(i, frame.height);
    if (begin + stride * (rows - 1) + layout.rowBytes(i, frame.width) > frame.bytes.size()) {
      whyNot = "Plane " + std::to_string(i) + " is too small";
      return {};
    }
    planes[i] = {frame.bytes.data() + begin, stride};
    begin += stride * rows;
  }
  return planes;
}

ColorRange rangeOf(const Frame& frame) noexcept {
  if (frame.range != ColorRange::Unstated) return frame.range;
  return PixelLayout::of(frame.format).model == ColorModel::Yuv ? ColorRange::Limited : ColorRange::Full;
}

}  // namespace picture
