#include "platform/linux/photo/PictureRows.h"

#include <map>
#include <span>

#include "picture/JpegRowSource.h"
#include "picture/RawPicture.h"
#include "picture/RawRowSource.h"

namespace platform_linux {
namespace {

using Bytes = std::span<const std::uint8_t>;

picture::RawFormat rawFormat(picture::PixelFormat format) {
  static const std::map<picture::PixelFormat, picture::RawFormat> kFormats{
      {picture::PixelFormat::YUY2, picture::RawFormat::kYuy2},
      {picture::PixelFormat::UYVY, picture::RawFormat::kUyvy},
      {picture::PixelFormat::NV12, picture::RawFormat::kNv12},
      {picture::PixelFormat::I420, picture::RawFormat::kI420},
      {picture::PixelFormat::RGB, picture::RawFormat::kRgb},
      {picture::PixelFormat::BGR, picture::RawFormat::kBgr},
      {picture::PixelFormat::RGBx, picture::RawFormat::kRgbx},
      {picture::PixelFormat::BGRx, picture::RawFormat::kBgrx}};
  return kFormats.at(format);
}

/// The part of `bytes` from `offset` on; empty when there is none.
Bytes rest(Bytes bytes, std::size_t offset) {
  return offset < bytes.size() ? bytes.subspan(offset) : Bytes{};
}

/// Planes lie one behind the other, as PipeWire and V4L2 lay out a frame in a single buffer.
picture::RawPicture rawPicture(const picture::Frame& frame, bool mirrored) {
  picture::RawPicture raw;
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
  if (frame.format == picture::PixelFormat::NV12) {
    raw.planes[1] = {rest(bytes, lumaBytes), stride};
  } else if (frame.format == picture::PixelFormat::I420) {
    const std::size_t chromaStride = (stride + 1) / 2;
    raw.planes[1] = {rest(bytes, lumaBytes), chromaStride};
    raw.planes[2] = {rest(bytes, lumaBytes + chromaStride * chromaRows), chromaStride};
  }
  return raw;
}

}  // namespace

std::unique_ptr<picture::RowSource> openRows(const PictureData& picture, std::string& failure) {
  const picture::Frame& frame = picture.frame();
  if (frame.format == picture::PixelFormat::MJPG)
    return picture::JpegRowSource::open(frame.bytes, failure, picture.mirrored());
  return picture::RawRowSource::open(rawPicture(frame, picture.mirrored()), failure);
}

}  // namespace platform_linux
