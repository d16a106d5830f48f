#include "platform/linux/image/PictureRows.h"

#include <map>
#include <span>

#include "platform/linux/image/JpegRowSource.h"
#include "platform/linux/image/RawPicture.h"
#include "platform/linux/image/RawRowSource.h"

namespace platform_linux {
namespace {

using Bytes = std::span<const std::uint8_t>;

RawFormat rawFormat(PixelFormat format) {
  static const std::map<PixelFormat, RawFormat> kFormats{
      {PixelFormat::YUY2, RawFormat::kYuy2}, {PixelFormat::UYVY, RawFormat::kUyvy},
      {PixelFormat::NV12, RawFormat::kNv12}, {PixelFormat::I420, RawFormat::kI420},
      {PixelFormat::RGB, RawFormat::kRgb},   {PixelFormat::BGR, RawFormat::kBgr},
      {PixelFormat::RGBx, RawFormat::kRgbx}, {PixelFormat::BGRx, RawFormat::kBgrx}};
  return kFormats.at(format);
}

/// The part of `bytes` from `offset` on; empty when there is none.
Bytes rest(Bytes bytes, std::size_t offset) {
  return offset < bytes.size() ? bytes.subspan(offset) : Bytes{};
}

/// Planes lie one behind the other, as PipeWire and V4L2 lay out a frame in a single buffer.
RawPicture rawPicture(const Frame& frame, bool mirrored) {
  RawPicture raw;
  raw.format = rawFormat(frame.format);
  raw.width = static_cast<std::uint32_t>(frame.width);
  raw.height = static_cast<std::uint32_t>(frame.height);
  raw.matrix = frame.matrix;
  raw.range = frame.range;
  raw.mirrored = mirrored;
  const Bytes bytes(frame.bytes);
  const auto stride = static_cast<std::size_t>(frame.stride);
  const std::size_t lumaBytes = stride * raw.height;
  const std::size_t chromaRows = (raw.height + 1) / 2;
  raw.planes[0] = {bytes, stride};
  if (frame.format == PixelFormat::NV12) {
    raw.planes[1] = {rest(bytes, lumaBytes), stride};
  } else if (frame.format == PixelFormat::I420) {
    const std::size_t chromaStride = (stride + 1) / 2;
    raw.planes[1] = {rest(bytes, lumaBytes), chromaStride};
    raw.planes[2] = {rest(bytes, lumaBytes + chromaStride * chromaRows), chromaStride};
  }
  return raw;
}

}  // namespace

std::unique_ptr<RowSource> openRows(const PictureData& picture, std::string& failure) {
  const Frame& frame = picture.frame();
  if (frame.format == PixelFormat::MJPG) return JpegRowSource::open(frame.bytes, failure, picture.mirrored());
  return RawRowSource::open(rawPicture(frame, picture.mirrored()), failure);
}

}  // namespace platform_linux
