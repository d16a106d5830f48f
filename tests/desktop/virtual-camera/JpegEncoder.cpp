#include "tests/desktop/virtual-camera/JpegEncoder.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <span>

// jpeglib.h uses size_t and FILE without including what declares them.
#include <jpeglib.h>

#include "tests/desktop/virtual-camera/JpegMarkers.h"

namespace virtual_camera {
namespace {

void setSampling(jpeg_compress_struct& compress, JpegStyle::Sampling sampling) {
  if (sampling == JpegStyle::Sampling::kGrey) return;
  compress.comp_info[0].h_samp_factor = sampling == JpegStyle::Sampling::k444 ? 1 : 2;
  compress.comp_info[0].v_samp_factor = sampling == JpegStyle::Sampling::k420 ? 2 : 1;
}

/// An Exif segment (TIFF, little-endian) whose only entry is the orientation; from the Exif standard, 4.5
/// and 4.6.4.
void writeOrientation(jpeg_compress_struct& compress, unsigned orientation) {
  const std::array<JOCTET, 32> exif{'E', 'x',  'i', 'f', 0,
                                    0,   'I',  'I', 42,  0,
                                    8,   0,    0,   0,   1,
                                    0,   0x12, 1,   3,   0,
                                    1,   0,    0,   0,   static_cast<JOCTET>(orientation),
                                    0,   0,    0,   0,   0,
                                    0,   0};
  jpeg_write_marker(&compress, JPEG_APP0 + 1, exif.data(), exif.size());
}

/// Luma of the picture, for cameras that send grey JPEGs.
std::vector<JSAMPLE> greyRow(const RgbPicture& picture, std::uint32_t y) {
  std::vector<JSAMPLE> row(picture.width);
  for (std::uint32_t x = 0; x < picture.width; ++x) {
    const auto* sample = picture.at(x, y);
    row[x] = static_cast<JSAMPLE>((299 * sample[0] + 587 * sample[1] + 114 * sample[2] + 500) / 1000);
  }
  return row;
}

void writeRows(jpeg_compress_struct& compress, const RgbPicture& picture) {
  while (compress.next_scanline < compress.image_height) {
    std::vector<JSAMPLE> grey;
    // libjpeg reads the rows only, but asks for them without const.
    JSAMPROW row = const_cast<JSAMPROW>(picture.at(0, compress.next_scanline));
    if (compress.input_components == 1) {
      grey = greyRow(picture, compress.next_scanline);
      row = grey.data();
    }
    jpeg_write_scanlines(&compress, &row, 1);
  }
}

Bytes encode(const RgbPicture& picture, const JpegStyle& style) {
  jpeg_compress_struct compress{};
  jpeg_error_mgr errors{};
  compress.err = jpeg_std_error(&errors);
  jpeg_create_compress(&compress);
  unsigned char* memory = nullptr;
  unsigned long size = 0;
  jpeg_mem_dest(&compress, &memory, &size);
  compress.image_width = picture.width;
  compress.image_height = picture.height;
  const bool grey = style.sampling == JpegStyle::Sampling::kGrey;
  compress.input_components = grey ? 1 : 3;
  compress.in_color_space = grey ? JCS_GRAYSCALE : JCS_RGB;
  jpeg_set_defaults(&compress);
  jpeg_set_quality(&compress, style.quality, TRUE);
  setSampling(compress, style.sampling);
  compress.restart_interval = style.restart;
  if (style.progressive) jpeg_simple_progression(&compress);
  jpeg_start_compress(&compress, TRUE);
  if (style.orientation > 0) writeOrientation(compress, style.orientation);
  writeRows(compress, picture);
  jpeg_finish_compress(&compress);
  const std::unique_ptr<unsigned char, decltype(&std::free)> owned(memory, &std::free);
  jpeg_destroy_compress(&compress);
  return {memory, memory + size};
}

}  // namespace

Bytes encodeJpeg(const RgbPicture& picture, const JpegStyle& style) {
  auto jpeg = encode(picture, style);
  if (style.withoutTables) removeSegments(jpeg, jpeg_marker::kHuffmanTables);
  if (style.strayAtRestart > 0) insertBeforeRestarts(jpeg, style.strayAtRestart);
  jpeg.resize(jpeg.size() - 2);
  appendRubbish(jpeg, style.strayAtEnd);
  for (int ends = style.withoutEnd ? 0 : style.secondEnd ? 2 : 1; ends > 0; --ends)
    jpeg.insert(jpeg.end(), {0xff, jpeg_marker::kEnd});
  jpeg.resize(jpeg.size() + style.zerosAfter);
  appendRubbish(jpeg, style.rubbishAfter);
  return jpeg;
}

Bytes damagedJpeg(const Bytes& jpeg) {
  const auto scan = scanOf(jpeg);
  Bytes damaged(jpeg.begin(), jpeg.begin() + static_cast<std::ptrdiff_t>(scan.first + scan.size * 3 / 10));
  damaged.insert(damaged.end(), jpeg.begin() + static_cast<std::ptrdiff_t>(scan.first + scan.size * 7 / 10),
                 jpeg.end());
  return damaged;
}

}  // namespace virtual_camera
