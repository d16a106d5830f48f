#include "picture/ScaledJpeg.h"

#include <string>

#include "picture/JpegDecoder.h"

namespace picture {
namespace {

/// The decoder scales while it decodes, by eighths: each block of 8 x 8 coefficients becomes `eighths` x
/// `eighths` pixels.
constexpr int kEighths = 8;

PixelSize scaledBy(PixelSize picture, int eighths) {
  return {(picture.width * eighths + kEighths - 1) / kEighths,
          (picture.height * eighths + kEighths - 1) / kEighths};
}

int smallestScale(PixelSize picture, PixelSize covered) {
  for (int eighths = 1; eighths < kEighths; ++eighths) {
    const PixelSize scaled = scaledBy(picture, eighths);
    if (scaled.width >= covered.width && scaled.height >= covered.height) return eighths;
  }
  return kEighths;
}

}  // namespace

PixelSize scaledJpegSize(PixelSize picture, PixelSize covered) {
  return scaledBy(picture, smallestScale(picture, covered));
}

bool decodeScaledJpeg(const Frame& frame, PixelSize picture, PixelRows& rows) {
  const PixelSize size = rows.size();
  std::string whyNot;
  const auto decoder =
      JpegDecoder::open(frame.bytes,
                        {.pixels = JpegDecoder::Pixels::Bgra,
                         .eighths = smallestScale(picture, size),
                         .damage = frame.isDamaged ? JpegDecoder::Damage::Filled : JpegDecoder::Damage::Fails,
                         .isExact = false},
                        whyNot);
  if (!decoder || decoder->width() != static_cast<unsigned>(size.width) ||
      decoder->height() != static_cast<unsigned>(size.height)) {
    return false;
  }
  for (int row = 0; row < size.height; ++row) {
    if (!decoder->readRow(rows.strip(row))) return false;
    rows.written(row, 1);
  }
  return true;
}

}  // namespace picture
