#include "tests/picture/TestJpegs.h"

#include <cstdio>

#include <jpeglib.h>

#include "picture/PhotoRows.h"

namespace camera_shot_test {
Picture referenceDecode(const Bytes& jpeg) {
  jpeg_decompress_struct decoder{};
  jpeg_error_mgr errors{};  // the default handler ends the process, which is right for a test's own input
  decoder.err = jpeg_std_error(&errors);
  jpeg_create_decompress(&decoder);
  jpeg_mem_src(&decoder, jpeg.data(), static_cast<unsigned long>(jpeg.size()));
  jpeg_read_header(&decoder, TRUE);
  decoder.out_color_space = JCS_RGB;
  jpeg_start_decompress(&decoder);
  Picture picture{decoder.output_width, decoder.output_height, {}};
  Bytes row(std::size_t{picture.width} * 3);
  while (decoder.output_scanline < decoder.output_height) {
    JSAMPROW pointer = row.data();
    jpeg_read_scanlines(&decoder, &pointer, 1);
    picture.pixels.insert(picture.pixels.end(), row.begin(), row.end());
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

}  // namespace camera_shot_test
