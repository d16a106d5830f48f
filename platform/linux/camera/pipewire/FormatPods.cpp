#include "platform/linux/camera/pipewire/FormatPods.h"

#include <array>
#include <compare>
#include <cstdint>
#include <cstring>
#include <utility>

#include <spa/param/format.h>
#include <spa/param/video/color.h>
#include <spa/param/video/format-utils.h>
#include <spa/param/video/type-info.h>
#include <spa/pod/iter.h>

namespace platform_linux {
namespace {

// BGR15 and BGR16 are left out: the daemon's own V4L2 source calls by these names what is RGB of big-endian
// words (V4L2_PIX_FMT_RGB555X, RGB565X), other programs mean what they say.
constexpr std::array kRawFormats{
    std::pair{SPA_VIDEO_FORMAT_YUY2, picture::PixelFormat::YUY2},
    std::pair{SPA_VIDEO_FORMAT_UYVY, picture::PixelFormat::UYVY},
    std::pair{SPA_VIDEO_FORMAT_YVYU, picture::PixelFormat::YVYU},
    std::pair{SPA_VIDEO_FORMAT_VYUY, picture::PixelFormat::VYUY},
    std::pair{SPA_VIDEO_FORMAT_NV12, picture::PixelFormat::NV12},
    std::pair{SPA_VIDEO_FORMAT_NV21, picture::PixelFormat::NV21},
    std::pair{SPA_VIDEO_FORMAT_NV16, picture::PixelFormat::NV16},
    std::pair{SPA_VIDEO_FORMAT_NV61, picture::PixelFormat::NV61},
    std::pair{SPA_VIDEO_FORMAT_NV24, picture::PixelFormat::NV24},
    std::pair{SPA_VIDEO_FORMAT_I420, picture::PixelFormat::I420},
    std::pair{SPA_VIDEO_FORMAT_YV12, picture::PixelFormat::YV12},
    std::pair{SPA_VIDEO_FORMAT_Y42B, picture::PixelFormat::Y42B},
    std::pair{SPA_VIDEO_FORMAT_Y444, picture::PixelFormat::Y444},
    std::pair{SPA_VIDEO_FORMAT_AYUV, picture::PixelFormat::AYUV},
    std::pair{SPA_VIDEO_FORMAT_v308, picture::PixelFormat::v308},
    std::pair{SPA_VIDEO_FORMAT_IYU2, picture::PixelFormat::IYU2},
    std::pair{SPA_VIDEO_FORMAT_P010_10LE, picture::PixelFormat::P010},
    std::pair{SPA_VIDEO_FORMAT_I420_10LE, picture::PixelFormat::I420_10},
    std::pair{SPA_VIDEO_FORMAT_I422_10LE, picture::PixelFormat::I422_10},
    std::pair{SPA_VIDEO_FORMAT_Y444_10LE, picture::PixelFormat::Y444_10},
    std::pair{SPA_VIDEO_FORMAT_I420_12LE, picture::PixelFormat::I420_12},
    std::pair{SPA_VIDEO_FORMAT_I422_12LE, picture::PixelFormat::I422_12},
    std::pair{SPA_VIDEO_FORMAT_Y444_12LE, picture::PixelFormat::Y444_12},
    std::pair{SPA_VIDEO_FORMAT_P010_10BE, picture::PixelFormat::P010_BE},
    std::pair{SPA_VIDEO_FORMAT_I420_10BE, picture::PixelFormat::I420_10BE},
    std::pair{SPA_VIDEO_FORMAT_I422_10BE, picture::PixelFormat::I422_10BE},
    std::pair{SPA_VIDEO_FORMAT_Y444_10BE, picture::PixelFormat::Y444_10BE},
    std::pair{SPA_VIDEO_FORMAT_I420_12BE, picture::PixelFormat::I420_12BE},
    std::pair{SPA_VIDEO_FORMAT_I422_12BE, picture::PixelFormat::I422_12BE},
    std::pair{SPA_VIDEO_FORMAT_Y444_12BE, picture::PixelFormat::Y444_12BE},
    std::pair{SPA_VIDEO_FORMAT_v210, picture::PixelFormat::v210},
    std::pair{SPA_VIDEO_FORMAT_UYVP, picture::PixelFormat::UYVP},
    std::pair{SPA_VIDEO_FORMAT_v216, picture::PixelFormat::v216},
    std::pair{SPA_VIDEO_FORMAT_AYUV64, picture::PixelFormat::AYUV64},
    std::pair{SPA_VIDEO_FORMAT_RGB, picture::PixelFormat::RGB},
    std::pair{SPA_VIDEO_FORMAT_BGR, picture::PixelFormat::BGR},
    std::pair{SPA_VIDEO_FORMAT_RGBx, picture::PixelFormat::RGBx},
    std::pair{SPA_VIDEO_FORMAT_BGRx, picture::PixelFormat::BGRx},
    std::pair{SPA_VIDEO_FORMAT_xRGB, picture::PixelFormat::xRGB},
    std::pair{SPA_VIDEO_FORMAT_xBGR, picture::PixelFormat::xBGR},
    std::pair{SPA_VIDEO_FORMAT_RGBA, picture::PixelFormat::RGBA},
    std::pair{SPA_VIDEO_FORMAT_BGRA, picture::PixelFormat::BGRA},
    std::pair{SPA_VIDEO_FORMAT_ARGB, picture::PixelFormat::ARGB},
    std::pair{SPA_VIDEO_FORMAT_ABGR, picture::PixelFormat::ABGR},
    std::pair{SPA_VIDEO_FORMAT_RGB16, picture::PixelFormat::RGB16},
    std::pair{SPA_VIDEO_FORMAT_RGB15, picture::PixelFormat::RGB15},
    std::pair{SPA_VIDEO_FORMAT_xRGB_210LE, picture::PixelFormat::xRGB_210},
    std::pair{SPA_VIDEO_FORMAT_xBGR_210LE, picture::PixelFormat::xBGR_210},
    std::pair{SPA_VIDEO_FORMAT_RGBx_102LE, picture::PixelFormat::RGBx_102},
    std::pair{SPA_VIDEO_FORMAT_BGRx_102LE, picture::PixelFormat::BGRx_102},
    std::pair{SPA_VIDEO_FORMAT_r210, picture::PixelFormat::r210},
    std::pair{SPA_VIDEO_FORMAT_ARGB64, picture::PixelFormat::ARGB64},
    std::pair{SPA_VIDEO_FORMAT_GRAY8, picture::PixelFormat::GRAY8},
    std::pair{SPA_VIDEO_FORMAT_GRAY16_LE, picture::PixelFormat::GRAY16},
    std::pair{SPA_VIDEO_FORMAT_GRAY16_BE, picture::PixelFormat::GRAY16_BE},
};

std::optional<picture::PixelFormat> pixelFormatOfSpa(std::uint32_t format) {
  for (const auto& [spa, ours] : kRawFormats)
    if (static_cast<std::uint32_t>(spa) == format) return ours;
  return {};
}

std::uint32_t spaOfPixelFormat(picture::PixelFormat format) {
  for (const auto& [spa, ours] : kRawFormats)
    if (ours == format) return spa;
  return SPA_VIDEO_FORMAT_UNKNOWN;
}

// The values of a property, whatever kind of choice it is. `T` must be the type of its values.
template <typename T>
struct Choice {
  bool isRange = false;
  std::vector<T> values;  // of a range: the preferred one, the smallest, the largest, and the step if any
};

template <typename T>
Choice<T> choiceOf(const spa_pod* object, std::uint32_t key, std::uint32_t type) {
  const spa_pod_prop* property = spa_pod_find_prop(object, nullptr, key);
  if (!property) return {};
  // Of a choice that is shorter than its own beginning the library counts thousands of millions of values.
  if (property->value.type == SPA_TYPE_Choice && property->value.size < sizeof(spa_pod_choice_body))
    return {};
  std::uint32_t count = 0;
  std::uint32_t kind = SPA_CHOICE_None;
  const spa_pod* values = spa_pod_get_values(&property->value, &count, &kind);
  if (values->type != type || values->size != sizeof(T) || count == 0) return {};
  const T* first = static_cast<const T*>(SPA_POD_BODY_CONST(values));
  Choice<T> choice;
  choice.isRange = (kind == SPA_CHOICE_Range || kind == SPA_CHOICE_Step) && count >= 3;
  // An enumeration repeats its preferred value in front of all of them.
  if (kind == SPA_CHOICE_Enum && count > 1)
    choice.values.assign(first + 1, first + count);
  else if (choice.isRange || kind == SPA_CHOICE_Enum)
    choice.values.assign(first, first + count);
  else
    choice.values.assign(first, first + 1);
  return choice;
}

std::vector<picture::PixelFormat> formatsOf(const spa_pod* pod) {
  const auto mediaType = choiceOf<std::uint32_t>(pod, SPA_FORMAT_mediaType, SPA_TYPE_Id);
  const auto subtype = choiceOf<std::uint32_t>(pod, SPA_FORMAT_mediaSubtype, SPA_TYPE_Id);
  if (mediaType.values.empty() || subtype.values.empty()) return {};
  if (mediaType.values[0] != SPA_MEDIA_TYPE_video) return {};
  if (subtype.values[0] == SPA_MEDIA_SUBTYPE_mjpg) return {picture::PixelFormat::MJPG};
  if (subtype.values[0] != SPA_MEDIA_SUBTYPE_raw) return {};
  // Buffers of the graphics processor, whose layout the modifier tells, cannot be read here.
  const spa_pod_prop* modifier = spa_pod_find_prop(pod, nullptr, SPA_FORMAT_VIDEO_modifier);
  if (modifier && (modifier->flags & SPA_POD_PROP_FLAG_MANDATORY)) return {};
  std::vector<picture::PixelFormat> formats;
  for (const auto spa : choiceOf<std::uint32_t>(pod, SPA_FORMAT_VIDEO_format, SPA_TYPE_Id).values)
    if (const auto format = pixelFormatOfSpa(spa)) formats.push_back(*format);
  return formats;
}

// The last of the steps from `smallest` on that is not beyond `largest`. A step that leads beyond at once is
// none: the daemon's own V4L2 source states the largest size in the place of the step.
std::uint32_t lastStep(std::uint32_t smallest, std::uint32_t largest, std::uint32_t step) {
  if (largest < smallest || step == 0 || step > largest - smallest) return largest;
  return largest - (largest - smallest) % step;
}

spa_rectangle largestOf(const Choice<spa_rectangle>& range) {
  const spa_rectangle smallest = range.values[1];
  const spa_rectangle largest = range.values[2];
  const spa_rectangle step = range.values.size() > 3 ? range.values[3] : spa_rectangle{};
  return {lastStep(smallest.width, largest.width, step.width),
          lastStep(smallest.height, largest.height, step.height)};
}

bool isSame(const spa_rectangle& a, const spa_rectangle& b) {
  return a.width == b.width && a.height == b.height;
}

bool isWithin(const spa_rectangle& size, const spa_rectangle& smallest, const spa_rectangle& largest) {
  return size.width >= smallest.width && size.height >= smallest.height && size.width <= largest.width &&
         size.height <= largest.height;
}

/// What cameras and grabbers mostly have, for those of which nothing is known: what they cannot do they
/// refuse.
constexpr std::array<spa_rectangle, 7> kUsualSizes{
    {{1920, 1080}, {1280, 720}, {1024, 768}, {720, 576}, {720, 480}, {640, 480}, {320, 240}}};

// The preferred size and the largest of a range. Where the largest means anything and the smallest is
// preferred, nothing is known: the daemon's V4L2 source says so of drivers that do not list their sizes.
std::vector<spa_rectangle> sizesOfRange(const Choice<spa_rectangle>& range) {
  const spa_rectangle preferred = range.values[0];
  const spa_rectangle smallest = range.values[1];
  const spa_rectangle largest = largestOf(range);
  if (!meansAnySize(largest.width, largest.height)) return {preferred, largest};
  std::vector<spa_rectangle> sizes;
  if (isSame(preferred, smallest))
    for (const auto& size : kUsualSizes)
      if (isWithin(size, smallest, largest)) sizes.push_back(size);
  sizes.push_back(preferred);
  return sizes;
}

std::vector<spa_rectangle> sizesOf(const spa_pod* pod, picture::PixelFormat format) {
  // Each JPEG stream tells its size; nodes that pass on what others coded may not know it.
  const bool isStated = spa_pod_find_prop(pod, nullptr, SPA_FORMAT_VIDEO_size) != nullptr;
  if (!isStated && format == picture::PixelFormat::MJPG) return {spa_rectangle{}};
  const auto choice = choiceOf<spa_rectangle>(pod, SPA_FORMAT_VIDEO_size, SPA_TYPE_Rectangle);
  auto sizes = choice.values;
  if (choice.isRange) sizes = sizesOfRange(choice);
  std::erase_if(sizes, [](const spa_rectangle& size) { return size.width == 0 || size.height == 0; });
  return sizes;
}

FrameRate rateOf(const spa_fraction& fraction) {
  if (fraction.num == 0 || fraction.denom == 0) return {};
  return {fraction.num, fraction.denom};
}

std::vector<FrameRate> ratesOf(const spa_pod* pod) {
  const auto choice = choiceOf<spa_fraction>(pod, SPA_FORMAT_VIDEO_framerate, SPA_TYPE_Fraction);
  if (choice.values.empty()) return {FrameRate{}};
  std::vector<FrameRate> rates;
  if (choice.isRange) {
    rates.push_back(rateOf(choice.values[0]));
    const FrameRate fastest = rateOf(choice.values[2]);
    if (!meansAnyRate(fastest)) rates.push_back(fastest);
  } else {
    for (const auto& fraction : choice.values)
      rates.push_back(rateOf(fraction));
  }
  return rates;
}

/// The number in a field of an enumeration: a node may state one that is none of the type's values.
template <typename Field>
std::uint32_t numberIn(const Field& field) {
  std::uint32_t number = 0;
  static_assert(sizeof field == sizeof number);
  std::memcpy(&number, &field, sizeof number);
  return number;
}

// A camera that states nothing means BT.601 at every size: the default of UVC, sRGB, is that in V4L2's terms.
picture::ColorMatrix matrixOf(std::uint32_t stated) {
  switch (stated) {
    case SPA_VIDEO_COLOR_MATRIX_BT709:
      return picture::ColorMatrix::BT709;
    case SPA_VIDEO_COLOR_MATRIX_BT2020:
      return picture::ColorMatrix::BT2020;
    case SPA_VIDEO_COLOR_MATRIX_FCC:
      return picture::ColorMatrix::FCC;
    case SPA_VIDEO_COLOR_MATRIX_SMPTE240M:
      return picture::ColorMatrix::SMPTE240M;
    default:
      return picture::ColorMatrix::BT601;
  }
}

picture::ColorRange rangeOf(std::uint32_t stated) {
  switch (stated) {
    case SPA_VIDEO_COLOR_RANGE_0_255:
      return picture::ColorRange::Full;
    case SPA_VIDEO_COLOR_RANGE_16_235:
      return picture::ColorRange::Limited;
    default:
      return picture::ColorRange::Unstated;
  }
}

}  // namespace

std::vector<CameraMode> modesOfFormatPod(const spa_pod* pod) {
  if (!pod || !spa_pod_is_object_type(pod, SPA_TYPE_OBJECT_Format)) return {};
  std::vector<CameraMode> modes;
  for (const auto format : formatsOf(pod))
    for (const auto& size : sizesOf(pod, format))
      for (const auto& rate : ratesOf(pod))
        modes.push_back({format, size.width, size.height, rate});
  return modes;
}

namespace {

// "v210" of "Spa:Enum:VideoFormat:v210"; empty for a number that the library has no name for.
std::string_view shortName(std::uint32_t format) {
  for (const spa_type_info* each = spa_type_video_format; each->name; ++each) {
    const std::string_view name(each->name);
    if (each->type == format) return name.substr(name.find_last_of(':') + 1);
  }
  return {};
}

std::string rawFormatNames(const spa_pod* pod) {
  std::string names;
  for (const auto format : choiceOf<std::uint32_t>(pod, SPA_FORMAT_VIDEO_format, SPA_TYPE_Id).values)
    if (const auto name = shortName(format); !name.empty())
      names += (names.empty() ? "" : ", ") + std::string(name);
  return names.empty() ? "uncompressed pictures of an unknown layout" : names;
}

}  // namespace

std::string formatName(const spa_pod* pod) {
  std::uint32_t mediaType = 0;
  std::uint32_t subtype = 0;
  if (!pod || spa_format_parse(pod, &mediaType, &subtype) < 0) return "an unknown format";
  if (mediaType != SPA_MEDIA_TYPE_video) return "no pictures";
  switch (subtype) {
    case SPA_MEDIA_SUBTYPE_h264:
      return "H.264";
    case SPA_MEDIA_SUBTYPE_bayer:
      return "Bayer";
    case SPA_MEDIA_SUBTYPE_raw:
      return rawFormatNames(pod);
    default:
      return "video format " + std::to_string(subtype);
  }
}

const spa_pod* formatPodOfMode(const CameraMode& mode, spa_pod_builder& builder) {
  const bool isJpeg = mode.format == picture::PixelFormat::MJPG;
  spa_pod_frame object{};
  spa_pod_builder_push_object(&builder, &object, SPA_TYPE_OBJECT_Format, SPA_PARAM_EnumFormat);
  spa_pod_builder_prop(&builder, SPA_FORMAT_mediaType, 0);
  spa_pod_builder_id(&builder, SPA_MEDIA_TYPE_video);
  spa_pod_builder_prop(&builder, SPA_FORMAT_mediaSubtype, 0);
  spa_pod_builder_id(&builder, isJpeg ? SPA_MEDIA_SUBTYPE_mjpg : SPA_MEDIA_SUBTYPE_raw);
  if (!isJpeg) {
    spa_pod_builder_prop(&builder, SPA_FORMAT_VIDEO_format, 0);
    spa_pod_builder_id(&builder, spaOfPixelFormat(mode.format));
  }
  if (mode.saysSize()) {
    spa_pod_builder_prop(&builder, SPA_FORMAT_VIDEO_size, 0);
    spa_pod_builder_rectangle(&builder, mode.width, mode.height);
  }
  if (mode.rate.stated()) {
    spa_pod_builder_prop(&builder, SPA_FORMAT_VIDEO_framerate, 0);
    spa_pod_builder_fraction(&builder, mode.rate.numerator, mode.rate.denominator);
  }
  return static_cast<const spa_pod*>(spa_pod_builder_pop(&builder, &object));
}

std::optional<FrameFormat> agreedFormatOfPod(const spa_pod* pod) {
  std::uint32_t mediaType = 0;
  std::uint32_t subtype = 0;
  if (spa_format_parse(pod, &mediaType, &subtype) < 0 || mediaType != SPA_MEDIA_TYPE_video) return {};
  if (subtype == SPA_MEDIA_SUBTYPE_mjpg) {
    spa_video_info_mjpg info{};
    if (spa_format_video_mjpg_parse(pod, &info) < 0) return {};
    return FrameFormat{picture::PixelFormat::MJPG, info.size.width, info.size.height};
  }
  spa_video_info_raw info{};
  if (subtype != SPA_MEDIA_SUBTYPE_raw || spa_format_video_raw_parse(pod, &info) < 0) return {};
  const auto format = pixelFormatOfSpa(numberIn(info.format));
  if (!format) return {};
  return FrameFormat{*format, info.size.width, info.size.height, matrixOf(numberIn(info.color_matrix)),
                     rangeOf(numberIn(info.color_range))};
}

}  // namespace platform_linux
