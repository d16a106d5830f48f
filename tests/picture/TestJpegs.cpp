#include "tests/picture/TestJpegs.h"

#include <cmath>
#include <cstdio>

#include <jpeglib.h>

#include "picture/PhotoRows.h"

namespace camera_shot_test {
namespace {

Bytes lightThrough(const Bytes& inks) {
  Bytes rgb;
  for (std::size_t i = 0; i < inks.size(); i += 4)
    for (std::size_t channel = 0; channel < 3; ++channel)
      rgb.push_back(static_cast<std::uint8_t>(std::lround(inks[i + channel] * inks[i + 3] / 255.0)));
  return rgb;
}

}  // namespace

Picture referenceDecode(const Bytes& jpeg) {
  jpeg_decompress_struct decoder{};
  jpeg_error_mgr errors{};  // the default handler ends the process, which is right for a test's own input
  decoder.err = jpeg_std_error(&errors);
  jpeg_create_decompress(&decoder);
  jpeg_mem_src(&decoder, jpeg.data(), static_cast<unsigned long>(jpeg.size()));
  jpeg_read_header(&decoder, TRUE);
  const bool isInk = decoder.jpeg_color_space == JCS_CMYK || decoder.jpeg_color_space == JCS_YCCK;
  decoder.out_color_space = isInk ? JCS_CMYK : JCS_RGB;
  jpeg_start_decompress(&decoder);
  Picture picture{decoder.output_width, decoder.output_height, {}};
  Bytes row(std::size_t{picture.width} * (isInk ? 4 : 3));
  while (decoder.output_scanline < decoder.output_height) {
    JSAMPROW pointer = row.data();
    jpeg_read_scanlines(&decoder, &pointer, 1);
    const Bytes pixels = isInk ? lightThrough(row) : row;
    picture.pixels.insert(picture.pixels.end(), pixels.begin(), pixels.end());
  }
  jpeg_finish_decompress(&decoder);
  jpeg_destroy_decompress(&decoder);
  return picture;
}

std::optional<Picture> decodeJpeg(const Bytes& jpeg) {
  std::string failure;
  const auto source = picture::openJpegRows(jpeg, failure);
  if (!source) return std::nullopt;
  Picture picture = readAll(*source);
  if (picture.pixels.empty()) return std::nullopt;
  return picture;
}

Bytes withThumbnail(const Bytes& jpeg, const Bytes& thumbnail) {
  const std::size_t length = 2 + 6 + thumbnail.size();
  Bytes exif = {0xFF,
                0xE1,
                static_cast<std::uint8_t>(length >> 8),
                static_cast<std::uint8_t>(length),
                'E',
                'x',
                'i',
                'f',
                0,
                0};
  exif.insert(exif.end(), thumbnail.begin(), thumbnail.end());
  Bytes out = jpeg;
  out.insert(out.begin() + 2, exif.begin(), exif.end());
  return out;
}

}  // namespace camera_shot_test
