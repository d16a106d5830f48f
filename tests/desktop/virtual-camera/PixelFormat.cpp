#include "tests/desktop/virtual-camera/PixelFormat.h"

#include <utility>

namespace virtual_camera {
namespace {

using enum Channel;

constexpr std::array<std::pair<std::string_view, PixelFormat>, 43> kNames{{
    {"MJPG", PixelFormat::kMjpg},
    {"H264", PixelFormat::kH264},
    {"BAYER", PixelFormat::kBayer},
    {"YUY2", PixelFormat::kYuy2},
    {"UYVY", PixelFormat::kUyvy},
    {"YVYU", PixelFormat::kYvyu},
    {"VYUY", PixelFormat::kVyuy},
    {"NV12", PixelFormat::kNv12},
    {"NV21", PixelFormat::kNv21},
    {"NV16", PixelFormat::kNv16},
    {"NV61", PixelFormat::kNv61},
    {"NV24", PixelFormat::kNv24},
    {"I420", PixelFormat::kI420},
    {"YV12", PixelFormat::kYv12},
    {"Y42B", PixelFormat::kY42b},
    {"Y444", PixelFormat::kY444},
    {"AYUV", PixelFormat::kAyuv},
    {"v308", PixelFormat::kV308},
    {"IYU2", PixelFormat::kIyu2},
    {"P010", PixelFormat::kP010},
    {"I420_10LE", PixelFormat::kI420Ten},
    {"RGB", PixelFormat::kRgb},
    {"BGR", PixelFormat::kBgr},
    {"I422_10LE", PixelFormat::kI422Ten},
    {"RGBx", PixelFormat::kRgbx},
    {"GRAY8", PixelFormat::kGray8},
    {"GRAY16_LE", PixelFormat::kGray16},
    {"BGRx", PixelFormat::kBgrx},
    {"xRGB", PixelFormat::kXrgb},
    {"GRAY16_BE", PixelFormat::kGray16Be},
    {"xBGR", PixelFormat::kXbgr},
    {"RGBA", PixelFormat::kRgba},
    {"BGRA", PixelFormat::kBgra},
    {"ARGB", PixelFormat::kArgb},
    {"ABGR", PixelFormat::kAbgr},
    {"RGB16", PixelFormat::kRgb16},
    {"RGB15", PixelFormat::kRgb15},
    {"v216", PixelFormat::kV216},
    {"Y444_10LE", PixelFormat::kY444Ten},
    {"v210", PixelFormat::kV210},
    {"UYVP", PixelFormat::kUyvp},
    {"I420_10BE", PixelFormat::kI420TenBe},
    {"I422_12LE", PixelFormat::kI422Twelve},
}};

template <std::uint8_t Y, std::uint8_t U, std::uint8_t V>
constexpr std::array<ChannelPlace, 3> kPacked{
    {{kLuma, 0, Y, 2, 1, 1}, {kBlueDifference, 0, U, 4, 2, 1}, {kRedDifference, 0, V, 4, 2, 1}}};

/// By turns blue difference, luma, red difference, luma; a sample takes so many units.
template <std::uint8_t Units>
constexpr std::array<ChannelPlace, 3> kByTurns{{{kLuma, 0, Units, 2 * Units, 1, 1},
                                                {kBlueDifference, 0, 0, 4 * Units, 2, 1},
                                                {kRedDifference, 0, 2 * Units, 4 * Units, 2, 1}}};

template <std::uint8_t U, std::uint8_t Columns, std::uint8_t Rows, std::uint8_t Bytes = 1>
constexpr std::array<ChannelPlace, 3> kTwoPlanes{
    {{kLuma, 0, 0, Bytes, 1, 1},
     {kBlueDifference, 1, U* Bytes, 2 * Bytes, Columns, Rows},
     {kRedDifference, 1, (1 - U) * Bytes, 2 * Bytes, Columns, Rows}}};

template <std::uint8_t Y, std::uint8_t U, std::uint8_t V>
constexpr std::array<ChannelPlace, 3> kTriples{
    {{kLuma, 0, Y, 3, 1, 1}, {kBlueDifference, 0, U, 3, 1, 1}, {kRedDifference, 0, V, 3, 1, 1}}};

constexpr std::array<ChannelPlace, 4> kAlphaAndTriple{{{kUnused, 0, 0, 4, 1, 1},
                                                       {kLuma, 0, 1, 4, 1, 1},
                                                       {kBlueDifference, 0, 2, 4, 1, 1},
                                                       {kRedDifference, 0, 3, 4, 1, 1}}};

template <std::uint8_t U, std::uint8_t Columns, std::uint8_t Rows, std::uint8_t Bytes = 1>
constexpr std::array<ChannelPlace, 3> kThreePlanes{{{kLuma, 0, 0, Bytes, 1, 1},
                                                    {kBlueDifference, U, 0, Bytes, Columns, Rows},
                                                    {kRedDifference, 3 - U, 0, Bytes, Columns, Rows}}};

template <std::uint8_t Bytes>
constexpr std::array<ChannelPlace, 1> kGrey{{{kLuma, 0, 0, Bytes, 1, 1}}};

template <std::uint8_t R, std::uint8_t G, std::uint8_t B>
constexpr std::array<ChannelPlace, 3> kPrimaries{
    {{kRed, 0, R, 3, 1, 1}, {kGreen, 0, G, 3, 1, 1}, {kBlue, 0, B, 3, 1, 1}}};

template <std::uint8_t R, std::uint8_t G, std::uint8_t B, std::uint8_t Unused>
constexpr std::array<ChannelPlace, 4> kPrimariesAndUnused{
    {{kRed, 0, R, 4, 1, 1}, {kGreen, 0, G, 4, 1, 1}, {kBlue, 0, B, 4, 1, 1}, {kUnused, 0, Unused, 4, 1, 1}}};

}  // namespace

std::string_view formatName(PixelFormat format) {
  for (const auto& [name, value] : kNames) {
    if (value == format) return name;
  }
  return "?";
}

std::optional<PixelFormat> formatOfName(std::string_view name) {
  for (const auto& [known, format] : kNames) {
    if (known == name) return format;
  }
  return std::nullopt;
}

RawFormat rawFormat(PixelFormat format) {
  switch (format) {
    case PixelFormat::kMjpg:
    case PixelFormat::kH264:
    case PixelFormat::kBayer:
    case PixelFormat::kRgb16:
    case PixelFormat::kRgb15:
      break;
    case PixelFormat::kYuy2:
      return {8, 0, kPacked<0, 1, 3>};
    case PixelFormat::kUyvy:
      return {8, 0, kPacked<1, 0, 2>};
    case PixelFormat::kYvyu:
      return {8, 0, kPacked<0, 3, 1>};
    case PixelFormat::kVyuy:
      return {8, 0, kPacked<1, 2, 0>};
    case PixelFormat::kNv12:
      return {8, 0, kTwoPlanes<0, 2, 2>};
    case PixelFormat::kNv21:
      return {8, 0, kTwoPlanes<1, 2, 2>};
    case PixelFormat::kNv16:
      return {8, 0, kTwoPlanes<0, 2, 1>};
    case PixelFormat::kNv61:
      return {8, 0, kTwoPlanes<1, 2, 1>};
    case PixelFormat::kNv24:
      return {8, 0, kTwoPlanes<0, 1, 1>};
    case PixelFormat::kI420:
      return {8, 0, kThreePlanes<1, 2, 2>};
    case PixelFormat::kYv12:
      return {8, 0, kThreePlanes<2, 2, 2>};
    case PixelFormat::kY42b:
      return {8, 0, kThreePlanes<1, 2, 1>};
    case PixelFormat::kY444:
      return {8, 0, kThreePlanes<1, 1, 1>};
    case PixelFormat::kAyuv:
      return {8, 0, kAlphaAndTriple};
    case PixelFormat::kV308:
      return {8, 0, kTriples<0, 1, 2>};
    case PixelFormat::kIyu2:
      return {8, 0, kTriples<1, 0, 2>};
    case PixelFormat::kP010:
      return {10, 6, kTwoPlanes<0, 2, 2, 2>};
    case PixelFormat::kI420Ten:
      return {10, 0, kThreePlanes<1, 2, 2, 2>};
    case PixelFormat::kI422Ten:
      return {10, 0, kThreePlanes<1, 2, 1, 2>};
    case PixelFormat::kY444Ten:
      return {10, 0, kThreePlanes<1, 1, 1, 2>};
    case PixelFormat::kI420TenBe:
      return {10, 0, kThreePlanes<1, 2, 2, 2>, true};
    case PixelFormat::kI422Twelve:
      return {12, 0, kThreePlanes<1, 2, 1, 2>};
    case PixelFormat::kV216:
      return {16, 0, kByTurns<2>};
    case PixelFormat::kV210:
      return {10, 0, kByTurns<1>, false, Packing::kThrees};
    case PixelFormat::kUyvp:
      return {10, 0, kByTurns<1>, true, Packing::kString};
    case PixelFormat::kGray8:
      return {8, 0, kGrey<1>};
    case PixelFormat::kGray16:
      return {16, 0, kGrey<2>};
    case PixelFormat::kGray16Be:
      return {16, 0, kGrey<2>, true};
    case PixelFormat::kRgb:
      return {8, 0, kPrimaries<0, 1, 2>};
    case PixelFormat::kBgr:
      return {8, 0, kPrimaries<2, 1, 0>};
    case PixelFormat::kRgbx:
    case PixelFormat::kRgba:
      return {8, 0, kPrimariesAndUnused<0, 1, 2, 3>};
    case PixelFormat::kBgrx:
    case PixelFormat::kBgra:
      return {8, 0, kPrimariesAndUnused<2, 1, 0, 3>};
    case PixelFormat::kXrgb:
    case PixelFormat::kArgb:
      return {8, 0, kPrimariesAndUnused<1, 2, 3, 0>};
    case PixelFormat::kXbgr:
    case PixelFormat::kAbgr:
      return {8, 0, kPrimariesAndUnused<3, 2, 1, 0>};
  }
  return {};
}

}  // namespace virtual_camera
