#include "tests/desktop/virtual-camera/JpegEncoder.h"

#include "tests/desktop/virtual-camera/JpegMarkers.h"
#include "tests/support/jpeg/JpegEncoder.h"

namespace virtual_camera {
namespace {

test_support::JpegColors colorsOf(JpegStyle::Sampling sampling) {
  if (sampling == JpegStyle::Sampling::kCmyk) return test_support::JpegColors::Cmyk;
  if (sampling == JpegStyle::Sampling::kYcck) return test_support::JpegColors::Ycck;
  return test_support::JpegColors::YCbCr;
}

test_support::JpegOptions optionsOf(const JpegStyle& style) {
  return {.quality = style.quality,
          .lumaAcross = style.sampling == JpegStyle::Sampling::k444 ? 1 : 2,
          .lumaDown = style.sampling == JpegStyle::Sampling::k420 ? 2 : 1,
          .grey = style.sampling == JpegStyle::Sampling::kGrey,
          .colors = colorsOf(style.sampling),
          .progressive = style.progressive,
          .restartBlocks = style.restart,
          .exifOrientation = style.orientation};
}

Bytes behindRubbish(const Bytes& jpeg, std::size_t count) {
  Bytes bytes;
  appendRubbish(bytes, count);
  bytes.insert(bytes.end(), jpeg.begin(), jpeg.end());
  return bytes;
}

}  // namespace

Bytes encodeJpeg(const RgbPicture& picture, const JpegStyle& style) {
  auto jpeg = test_support::encodeJpeg(picture.width, picture.height, picture.samples, optionsOf(style));
  if (style.withoutTables) jpeg = test_support::withoutHuffmanTables(jpeg);
  if (style.lateHeight) jpeg = test_support::withHeightBehindTheScan(jpeg);
  if (style.strayAtRestart > 0) insertBeforeRestarts(jpeg, style.strayAtRestart);
  jpeg.resize(jpeg.size() - 2);
  appendRubbish(jpeg, style.strayAtEnd);
  for (int ends = style.withoutEnd ? 0 : style.secondEnd ? 2 : 1; ends > 0; --ends)
    jpeg.insert(jpeg.end(), {0xff, jpeg_marker::kEnd});
  jpeg.resize(jpeg.size() + style.zerosAfter);
  appendRubbish(jpeg, style.rubbishAfter);
  return style.before > 0 ? behindRubbish(jpeg, style.before) : jpeg;
}

Bytes damagedJpeg(const Bytes& jpeg) {
  const auto scan = scanOf(jpeg);
  Bytes damaged(jpeg.begin(), jpeg.begin() + static_cast<std::ptrdiff_t>(scan.first + scan.size * 3 / 10));
  damaged.insert(damaged.end(), jpeg.begin() + static_cast<std::ptrdiff_t>(scan.first + scan.size * 7 / 10),
                 jpeg.end());
  return damaged;
}

}  // namespace virtual_camera
