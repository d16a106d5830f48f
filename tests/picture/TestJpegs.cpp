#include "tests/picture/TestJpegs.h"

#include <cstdio>
#include <cstdlib>

#include <jpeglib.h>

#include "picture/JpegMarkers.h"
#include "picture/PhotoRows.h"

namespace camera_shot_test {
namespace {

constexpr std::uint8_t kDefineHuffmanTables = 0xC4;

// Luma only, for grey streams.
Bytes greyRow(const Picture& picture, std::uint32_t y) {
  Bytes row(picture.width);
  for (std::uint32_t x = 0; x < picture.width; ++x)
    row[x] = picture.pixels[(std::size_t{y} * picture.width + x) * 3];
  return row;
}

Bytes colorRow(const Picture& picture, std::uint32_t y) {
  const auto begin = picture.pixels.begin() + static_cast<std::ptrdiff_t>(std::size_t{y} * picture.width * 3);
  return {begin, begin + static_cast<std::ptrdiff_t>(std::size_t{picture.width} * 3)};
}

void configure(jpeg_compress_struct& encoder, const Picture& picture, const JpegOptions& options) {
  encoder.image_width = picture.width;
  encoder.image_height = picture.height;
  encoder.input_components = options.grey ? 1 : 3;
  encoder.in_color_space = options.grey ? JCS_GRAYSCALE : JCS_RGB;
  jpeg_set_defaults(&encoder);
  jpeg_set_quality(&encoder, options.quality, TRUE);
  if (!options.grey) {
    encoder.comp_info[0].h_samp_factor = options.lumaAcross;
    encoder.comp_info[0].v_samp_factor = options.lumaDown;
  }
  encoder.restart_in_rows = options.restartRows;
  if (options.progressive) jpeg_simple_progression(&encoder);
}

}  // namespace

Bytes encodeJpeg(const Picture& picture, const JpegOptions& options) {
  jpeg_compress_struct encoder{};
  jpeg_error_mgr errors{};  // the default handler ends the process, which is right for a test's own input
  encoder.err = jpeg_std_error(&errors);
  jpeg_create_compress(&encoder);
  unsigned char* bytes = nullptr;
  unsigned long size = 0;
  jpeg_mem_dest(&encoder, &bytes, &size);
  configure(encoder, picture, options);
  jpeg_start_compress(&encoder, TRUE);
  while (encoder.next_scanline < encoder.image_height) {
    Bytes row =
        options.grey ? greyRow(picture, encoder.next_scanline) : colorRow(picture, encoder.next_scanline);
    JSAMPROW pointer = row.data();
    jpeg_write_scanlines(&encoder, &pointer, 1);
  }
  jpeg_finish_compress(&encoder);
  Bytes jpeg(bytes, bytes + size);
  jpeg_destroy_compress(&encoder);
  std::free(bytes);
  return jpeg;
}

Picture referenceDecode(const Bytes& jpeg) {
  jpeg_decompress_struct decoder{};
  jpeg_error_mgr errors{};  // as above
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

Bytes withoutHuffmanTables(const Bytes& jpeg) {
  Bytes out;
  auto copied = jpeg.begin();
  const auto segments = picture::jpegHeaderSegments(jpeg);
  for (const auto& segment : segments.value()) {
    if (segment.marker != kDefineHuffmanTables) continue;
    const auto begin = jpeg.begin() + static_cast<std::ptrdiff_t>(segment.offset);
    out.insert(out.end(), copied, begin);
    copied = begin + static_cast<std::ptrdiff_t>(segment.size);
  }
  out.insert(out.end(), copied, jpeg.end());
  return out;
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
