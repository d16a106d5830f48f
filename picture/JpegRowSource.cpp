#include "picture/JpegRowSource.h"

#include <libyuv.h>

#include "picture/ExifBlock.h"
#include "picture/JpegMarkers.h"

namespace picture {

std::unique_ptr<JpegRowSource> JpegRowSource::open(std::span<const std::uint8_t> jpeg, std::string& failure,
                                                   bool mirrored) {
  std::unique_ptr<JpegRowSource> source(new JpegRowSource);
  if (!source->decompressor_.start(jpeg)) {
    failure = source->failure();
    return nullptr;
  }
  const auto exif = exifOfJpeg(jpeg);
  const bool mirroredInItself = exif && exif->orientation == Orientation::kMirrored;
  if (mirrored != mirroredInItself) source->unmirroredRow_.resize(source->rowBytes());
  return source;
}

bool JpegRowSource::readRows(std::span<std::uint8_t> rows) noexcept {
  if (unmirroredRow_.empty()) return decompressor_.readRows(rows);
  const auto stride = static_cast<int>(rowBytes());
  for (; !rows.empty(); rows = rows.subspan(rowBytes())) {
    if (!decompressor_.readRows(unmirroredRow_)) return false;
    libyuv::RGB24Mirror(unmirroredRow_.data(), stride, rows.data(), stride, static_cast<int>(width()), 1);
  }
  return true;
}

}  // namespace picture
