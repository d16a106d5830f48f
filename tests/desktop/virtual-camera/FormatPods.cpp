#include "tests/desktop/virtual-camera/FormatPods.h"

#include <array>
#include <stdexcept>
#include <utility>

#include <spa/buffer/buffer.h>
#include <spa/buffer/meta.h>
#include <spa/param/buffers.h>
#include <spa/param/param.h>
#include <spa/param/video/format-utils.h>
#include <spa/pod/builder.h>

namespace virtual_camera {
namespace {

constexpr std::array<std::pair<PixelFormat, spa_video_format>, 4> kRawFormats{{
    {PixelFormat::kYuy2, SPA_VIDEO_FORMAT_YUY2},
    {PixelFormat::kNv12, SPA_VIDEO_FORMAT_NV12},
    {PixelFormat::kRgb, SPA_VIDEO_FORMAT_RGB},
    {PixelFormat::kBgrx, SPA_VIDEO_FORMAT_BGRx},
}};

spa_video_format rawFormat(PixelFormat format) {
  for (const auto& [ours, theirs] : kRawFormats) {
    if (ours == format) return theirs;
  }
  return SPA_VIDEO_FORMAT_UNKNOWN;
}

void addId(spa_pod_builder& builder, std::uint32_t key, std::uint32_t id) {
  spa_pod_builder_prop(&builder, key, 0);
  spa_pod_builder_id(&builder, id);
}

void addRates(spa_pod_builder& builder, const std::vector<std::uint32_t>& rates) {
  spa_pod_builder_prop(&builder, SPA_FORMAT_VIDEO_framerate, 0);
  if (rates.size() == 1) {
    spa_pod_builder_fraction(&builder, rates.front(), 1);
    return;
  }
  spa_pod_frame choice{};
  spa_pod_builder_push_choice(&builder, &choice, SPA_CHOICE_Enum, 0);
  spa_pod_builder_fraction(&builder, rates.front(),
                           1);  // the default comes first, and once more in its place
  for (const auto rate : rates)
    spa_pod_builder_fraction(&builder, rate, 1);
  spa_pod_builder_pop(&builder, &choice);
}

void addColorimetry(spa_pod_builder& builder, const Mode& mode) {
  if (mode.format == PixelFormat::kRgb || mode.format == PixelFormat::kBgrx) return;
  const bool standardDefinition = mode.height <= 576;
  addId(builder, SPA_FORMAT_VIDEO_colorRange, SPA_VIDEO_COLOR_RANGE_16_235);
  addId(builder, SPA_FORMAT_VIDEO_colorMatrix,
        standardDefinition ? SPA_VIDEO_COLOR_MATRIX_BT601 : SPA_VIDEO_COLOR_MATRIX_BT709);
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

void PodList::addMode(const Mode& mode, Colorimetry colorimetry) {
  Builder builder(*this);
  auto& pod = builder.builder;
  spa_pod_frame object{};
  const bool raw = mode.format != PixelFormat::kMjpg;
  const spa_rectangle size{mode.width, mode.height};
  spa_pod_builder_push_object(&pod, &object, SPA_TYPE_OBJECT_Format, SPA_PARAM_EnumFormat);
  addId(pod, SPA_FORMAT_mediaType, SPA_MEDIA_TYPE_video);
  addId(pod, SPA_FORMAT_mediaSubtype, raw ? SPA_MEDIA_SUBTYPE_raw : SPA_MEDIA_SUBTYPE_mjpg);
  if (raw) addId(pod, SPA_FORMAT_VIDEO_format, rawFormat(mode.format));
  spa_pod_builder_prop(&pod, SPA_FORMAT_VIDEO_size, 0);
  spa_pod_builder_rectangle(&pod, size.width, size.height);
  addRates(pod, mode.rates);
  if (raw && colorimetry == Colorimetry::kStated) addColorimetry(pod, mode);
  keep(builder, static_cast<spa_pod*>(spa_pod_builder_pop(&pod, &object)));
}

void PodList::addBuffers(const FrameLayout& layout) {
  Builder builder(*this);
  auto& pod = builder.builder;
  spa_pod_frame object{};
  spa_pod_builder_push_object(&pod, &object, SPA_TYPE_OBJECT_ParamBuffers, SPA_PARAM_Buffers);
  spa_pod_builder_add(&pod, SPA_PARAM_BUFFERS_buffers, SPA_POD_CHOICE_RANGE_Int(8, 2, 16),
                      SPA_PARAM_BUFFERS_blocks, SPA_POD_Int(1), SPA_PARAM_BUFFERS_size,
                      SPA_POD_Int(static_cast<int>(layout.size)), SPA_PARAM_BUFFERS_stride,
                      SPA_POD_Int(static_cast<int>(layout.stride)), SPA_PARAM_BUFFERS_dataType,
                      SPA_POD_CHOICE_FLAGS_Int((1 << SPA_DATA_MemFd) | (1 << SPA_DATA_MemPtr)), 0);
  keep(builder, static_cast<spa_pod*>(spa_pod_builder_pop(&pod, &object)));
}

void PodList::addHeader() {
  Builder builder(*this);
  auto& pod = builder.builder;
  spa_pod_frame object{};
  spa_pod_builder_push_object(&pod, &object, SPA_TYPE_OBJECT_ParamMeta, SPA_PARAM_Meta);
  spa_pod_builder_add(&pod, SPA_PARAM_META_type, SPA_POD_Id(SPA_META_Header), SPA_PARAM_META_size,
                      SPA_POD_Int(static_cast<int>(sizeof(spa_meta_header))), 0);
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
  } else {
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
