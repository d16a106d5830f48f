#include "tests/desktop/virtual-camera/FormatPods.h"

#include <algorithm>
#include <array>
#include <stdexcept>
#include <utility>

#include <spa/buffer/buffer.h>
#include <spa/param/buffers.h>
#include <spa/param/param.h>
#include <spa/param/video/format-utils.h>
#include <spa/pod/builder.h>

namespace virtual_camera {
namespace {

constexpr std::array<std::pair<PixelFormat, spa_video_format>, 40> kRawFormats{{
    {PixelFormat::kYuy2, SPA_VIDEO_FORMAT_YUY2},
    {PixelFormat::kUyvy, SPA_VIDEO_FORMAT_UYVY},
    {PixelFormat::kYvyu, SPA_VIDEO_FORMAT_YVYU},
    {PixelFormat::kVyuy, SPA_VIDEO_FORMAT_VYUY},
    {PixelFormat::kNv12, SPA_VIDEO_FORMAT_NV12},
    {PixelFormat::kNv21, SPA_VIDEO_FORMAT_NV21},
    {PixelFormat::kNv16, SPA_VIDEO_FORMAT_NV16},
    {PixelFormat::kNv61, SPA_VIDEO_FORMAT_NV61},
    {PixelFormat::kNv24, SPA_VIDEO_FORMAT_NV24},
    {PixelFormat::kI420, SPA_VIDEO_FORMAT_I420},
    {PixelFormat::kYv12, SPA_VIDEO_FORMAT_YV12},
    {PixelFormat::kY42b, SPA_VIDEO_FORMAT_Y42B},
    {PixelFormat::kY444, SPA_VIDEO_FORMAT_Y444},
    {PixelFormat::kAyuv, SPA_VIDEO_FORMAT_AYUV},
    {PixelFormat::kV308, SPA_VIDEO_FORMAT_v308},
    {PixelFormat::kIyu2, SPA_VIDEO_FORMAT_IYU2},
    {PixelFormat::kP010, SPA_VIDEO_FORMAT_P010_10LE},
    {PixelFormat::kI420Ten, SPA_VIDEO_FORMAT_I420_10LE},
    {PixelFormat::kI422Ten, SPA_VIDEO_FORMAT_I422_10LE},
    {PixelFormat::kGray8, SPA_VIDEO_FORMAT_GRAY8},
    {PixelFormat::kGray16, SPA_VIDEO_FORMAT_GRAY16_LE},
    {PixelFormat::kGray16Be, SPA_VIDEO_FORMAT_GRAY16_BE},
    {PixelFormat::kRgb, SPA_VIDEO_FORMAT_RGB},
    {PixelFormat::kBgr, SPA_VIDEO_FORMAT_BGR},
    {PixelFormat::kRgbx, SPA_VIDEO_FORMAT_RGBx},
    {PixelFormat::kBgrx, SPA_VIDEO_FORMAT_BGRx},
    {PixelFormat::kXrgb, SPA_VIDEO_FORMAT_xRGB},
    {PixelFormat::kXbgr, SPA_VIDEO_FORMAT_xBGR},
    {PixelFormat::kRgba, SPA_VIDEO_FORMAT_RGBA},
    {PixelFormat::kBgra, SPA_VIDEO_FORMAT_BGRA},
    {PixelFormat::kArgb, SPA_VIDEO_FORMAT_ARGB},
    {PixelFormat::kAbgr, SPA_VIDEO_FORMAT_ABGR},
    {PixelFormat::kV210, SPA_VIDEO_FORMAT_v210},
    {PixelFormat::kY444Ten, SPA_VIDEO_FORMAT_Y444_10LE},
    {PixelFormat::kUyvp, SPA_VIDEO_FORMAT_UYVP},
    {PixelFormat::kI420TenBe, SPA_VIDEO_FORMAT_I420_10BE},
    {PixelFormat::kV216, SPA_VIDEO_FORMAT_v216},
    {PixelFormat::kI422Twelve, SPA_VIDEO_FORMAT_I422_12LE},
    {PixelFormat::kRgb16, SPA_VIDEO_FORMAT_RGB16},
    {PixelFormat::kRgb15, SPA_VIDEO_FORMAT_RGB15},
}};

spa_video_format videoFormat(PixelFormat format) {
  for (const auto& [ours, theirs] : kRawFormats) {
    if (ours == format) return theirs;
  }
  return SPA_VIDEO_FORMAT_UNKNOWN;
}

void addId(spa_pod_builder& builder, std::uint32_t key, std::uint32_t id) {
  spa_pod_builder_prop(&builder, key, 0);
  spa_pod_builder_id(&builder, id);
}

spa_media_subtype subtype(PixelFormat format) {
  switch (format) {
    case PixelFormat::kMjpg:
      return SPA_MEDIA_SUBTYPE_mjpg;
    case PixelFormat::kH264:
      return SPA_MEDIA_SUBTYPE_h264;
    case PixelFormat::kBayer:
      return SPA_MEDIA_SUBTYPE_bayer;
    default:
      return SPA_MEDIA_SUBTYPE_raw;
  }
}

void addSizes(spa_pod_builder& builder, const Mode& mode) {
  if (mode.width == 0) return;
  spa_pod_builder_prop(&builder, SPA_FORMAT_VIDEO_size, 0);
  if (!mode.sizes) {
    spa_pod_builder_rectangle(&builder, mode.width, mode.height);
    return;
  }
  spa_pod_frame choice{};
  const bool stepped = mode.sizes->step > 1;
  spa_pod_builder_push_choice(&builder, &choice, stepped ? SPA_CHOICE_Step : SPA_CHOICE_Range, 0);
  spa_pod_builder_rectangle(&builder, mode.width, mode.height);  // the default
  spa_pod_builder_rectangle(&builder, mode.width, mode.height);
  spa_pod_builder_rectangle(&builder, mode.sizes->width, mode.sizes->height);
  if (stepped) spa_pod_builder_rectangle(&builder, mode.sizes->step, mode.sizes->step);
  spa_pod_builder_pop(&builder, &choice);
}

void addRates(spa_pod_builder& builder, const Mode& mode) {
  if (mode.rates.empty()) return;
  spa_pod_builder_prop(&builder, SPA_FORMAT_VIDEO_framerate, 0);
  const auto& first = mode.rates.front();
  if (mode.rates.size() == 1) {
    spa_pod_builder_fraction(&builder, first.numerator, first.denominator);
    return;
  }
  spa_pod_frame choice{};
  spa_pod_builder_push_choice(&builder, &choice, mode.ratesAreRange ? SPA_CHOICE_Range : SPA_CHOICE_Enum, 0);
  // The default comes first, and once more in its place.
  spa_pod_builder_fraction(&builder, first.numerator, first.denominator);
  for (const auto& rate : mode.rates)
    spa_pod_builder_fraction(&builder, rate.numerator, rate.denominator);
  spa_pod_builder_pop(&builder, &choice);
}

spa_video_color_matrix matrixId(Colorimetry::Matrix matrix) {
  switch (matrix) {
    case Colorimetry::Matrix::kBt601:
      break;
    case Colorimetry::Matrix::kBt709:
      return SPA_VIDEO_COLOR_MATRIX_BT709;
    case Colorimetry::Matrix::kBt2020:
      return SPA_VIDEO_COLOR_MATRIX_BT2020;
    case Colorimetry::Matrix::kSmpte240m:
      return SPA_VIDEO_COLOR_MATRIX_SMPTE240M;
  }
  return SPA_VIDEO_COLOR_MATRIX_BT601;
}

void addColorimetry(spa_pod_builder& builder, const Colorimetry& colorimetry) {
  addId(builder, SPA_FORMAT_VIDEO_colorRange,
        colorimetry.range == Colorimetry::Range::kFull ? SPA_VIDEO_COLOR_RANGE_0_255
                                                       : SPA_VIDEO_COLOR_RANGE_16_235);
  addId(builder, SPA_FORMAT_VIDEO_colorMatrix, matrixId(colorimetry.matrix));
}

bool isYuv(PixelFormat format) {
  const auto channels = rawFormat(format).channels;
  return std::any_of(channels.begin(), channels.end(),
                     [](const auto& place) { return place.channel == Channel::kLuma; });
}

}  // namespace

/// A builder over the memory that is still free.
struct PodList::Builder {
  explicit Builder(PodList& list) {
    spa_pod_builder_init(&builder, list.memory_.data() + list.used_,
                         static_cast<std::uint32_t>(list.memory_.size() - list.used_));
  }
  spa_pod_builder builder{};
};

void PodList::keep(Builder& builder, spa_pod* pod) {
  if (pod == nullptr) throw std::length_error("too many modes for one camera");
  pods_.push_back(pod);
  used_ += (builder.builder.state.offset + 7) / 8 * 8;
}

void PodList::addMode(const Mode& mode, const Colorimetry& colorimetry) {
  Builder builder(*this);
  auto& pod = builder.builder;
  spa_pod_frame object{};
  spa_pod_builder_push_object(&pod, &object, SPA_TYPE_OBJECT_Format, SPA_PARAM_EnumFormat);
  addId(pod, SPA_FORMAT_mediaType, SPA_MEDIA_TYPE_video);
  addId(pod, SPA_FORMAT_mediaSubtype, subtype(mode.format));
  if (isRaw(mode.format)) addId(pod, SPA_FORMAT_VIDEO_format, videoFormat(mode.format));
  addSizes(pod, mode);
  addRates(pod, mode);
  if (isYuv(mode.format) && colorimetry.stated) addColorimetry(pod, colorimetry);
  keep(builder, static_cast<spa_pod*>(spa_pod_builder_pop(&pod, &object)));
}

void PodList::addBuffers(const BufferRequest& request) {
  Builder builder(*this);
  auto& pod = builder.builder;
  spa_pod_frame object{};
  spa_pod_builder_push_object(&pod, &object, SPA_TYPE_OBJECT_ParamBuffers, SPA_PARAM_Buffers);
  spa_pod_builder_add(&pod, SPA_PARAM_BUFFERS_buffers,
                      SPA_POD_CHOICE_RANGE_Int(request.count.value_or(8), request.count.value_or(2),
                                               request.count.value_or(16)),
                      SPA_PARAM_BUFFERS_dataType, SPA_POD_CHOICE_FLAGS_Int(static_cast<int>(request.types)),
                      0);
  if (request.blocks > 0)
    spa_pod_builder_add(&pod, SPA_PARAM_BUFFERS_blocks, SPA_POD_Int(static_cast<int>(request.blocks)),
                        SPA_PARAM_BUFFERS_size, SPA_POD_Int(static_cast<int>(request.size)),
                        SPA_PARAM_BUFFERS_stride, SPA_POD_Int(static_cast<int>(request.stride)), 0);
  keep(builder, static_cast<spa_pod*>(spa_pod_builder_pop(&pod, &object)));
}

void PodList::addMeta(std::uint32_t type, std::size_t size) {
  Builder builder(*this);
  auto& pod = builder.builder;
  spa_pod_frame object{};
  spa_pod_builder_push_object(&pod, &object, SPA_TYPE_OBJECT_ParamMeta, SPA_PARAM_Meta);
  spa_pod_builder_add(&pod, SPA_PARAM_META_type, SPA_POD_Id(type), SPA_PARAM_META_size,
                      SPA_POD_Int(static_cast<int>(size)), 0);
  keep(builder, static_cast<spa_pod*>(spa_pod_builder_pop(&pod, &object)));
}

std::optional<NegotiatedFormat> parseFormat(const spa_pod* pod) {
  spa_video_info info{};
  if (spa_format_parse(pod, &info.media_type, &info.media_subtype) < 0) return std::nullopt;
  NegotiatedFormat format;
  spa_rectangle size{};
  spa_fraction rate{};
  if (info.media_subtype == SPA_MEDIA_SUBTYPE_mjpg) {
    if (spa_format_video_mjpg_parse(pod, &info.info.mjpg) < 0) return std::nullopt;
    size = info.info.mjpg.size;
    rate = info.info.mjpg.framerate;
  } else if (info.media_subtype == SPA_MEDIA_SUBTYPE_raw) {
    if (spa_format_video_raw_parse(pod, &info.info.raw) < 0) return std::nullopt;
    size = info.info.raw.size;
    rate = info.info.raw.framerate;
    bool known = false;
    for (const auto& [ours, theirs] : kRawFormats) {
      if (theirs != info.info.raw.format) continue;
      format.format = ours;
      known = true;
    }
    if (!known) return std::nullopt;
  } else {
    return std::nullopt;
  }
  format.width = size.width;
  format.height = size.height;
  if (rate.num > 0 && rate.denom > 0) {
    format.rateNumerator = rate.num;
    format.rateDenominator = rate.denom;
  }
  return format;
}

}  // namespace virtual_camera
