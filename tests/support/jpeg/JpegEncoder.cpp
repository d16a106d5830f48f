#include "tests/support/jpeg/JpegEncoder.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <memory>

// jpeglib.h uses size_t and FILE without including what declares them.
#include <jpeglib.h>

namespace test_support {
namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr std::uint8_t kFirstFrameHeader = 0xC0;
constexpr std::uint8_t kLastFrameHeader = 0xCF;
constexpr std::uint8_t kHuffmanTables = 0xC4;
constexpr std::uint8_t kStartOfScan = 0xDA;
constexpr std::size_t kStartAndEnd = 2;          // bytes of each
constexpr std::size_t kHeightInFrameHeader = 5;  // behind marker, length and bits a sample

/// Behind the segment that begins at `at`.
std::size_t segmentEnd(const Bytes& jpeg, std::size_t at) {
  return at + 2 + std::size_t{jpeg[at + 2]} * 256 + jpeg[at + 3];
}

bool isFrameHeader(std::uint8_t marker) {
  return marker >= kFirstFrameHeader && marker <= kLastFrameHeader && marker != kHuffmanTables;
}

/// An Exif segment (TIFF, little-endian) whose only entry is the orientation; from the Exif standard, 4.5
/// and 4.6.4.
void writeOrientation(jpeg_compress_struct& encoder, unsigned orientation) {
  const std::array<JOCTET, 32> exif{'E', 'x',  'i', 'f', 0,
                                    0,   'I',  'I', 42,  0,
                                    8,   0,    0,   0,   1,
                                    0,   0x12, 1,   3,   0,
                                    1,   0,    0,   0,   static_cast<JOCTET>(orientation),
                                    0,   0,    0,   0,   0,
                                    0,   0};
  jpeg_write_marker(&encoder, JPEG_APP0 + 1, exif.data(), exif.size());
}

bool isInk(const JpegOptions& options) {
  return options.colors == JpegColors::Cmyk || options.colors == JpegColors::Ycck;
}

void configureColors(jpeg_compress_struct& encoder, const JpegOptions& options) {
  encoder.input_components = options.grey ? 1 : isInk(options) ? 4 : 3;
  encoder.in_color_space = options.grey ? JCS_GRAYSCALE : isInk(options) ? JCS_CMYK : JCS_RGB;
  jpeg_set_defaults(&encoder);
  if (options.colors == JpegColors::Rgb) jpeg_set_colorspace(&encoder, JCS_RGB);
  if (options.colors == JpegColors::Ycck) jpeg_set_colorspace(&encoder, JCS_YCCK);
}

void configure(jpeg_compress_struct& encoder, const JpegOptions& options) {
  configureColors(encoder, options);
  jpeg_set_quality(&encoder, options.quality, TRUE);
  if (!options.grey && options.colors == JpegColors::YCbCr) {
    encoder.comp_info[0].h_samp_factor = options.lumaAcross;
    encoder.comp_info[0].v_samp_factor = options.lumaDown;
  }
  encoder.restart_in_rows = options.restartRows;
  encoder.restart_interval = options.restartBlocks;
  encoder.arith_code = options.arithmetic ? TRUE : FALSE;
  if (options.progressive) jpeg_simple_progression(&encoder);
}

/// The weights of ITU-R BT.601, 2.5.1.
Bytes lumaOf(std::span<const std::uint8_t> rgb) {
  Bytes luma;
  for (; !rgb.empty(); rgb = rgb.subspan(3))
    luma.push_back(static_cast<std::uint8_t>((299 * rgb[0] + 587 * rgb[1] + 114 * rgb[2] + 500) / 1000));
  return luma;
}

/// Two thirds of the light come through the black ink.
Bytes inksOf(std::span<const std::uint8_t> rgb) {
  Bytes inks;
  for (; !rgb.empty(); rgb = rgb.subspan(3))
    inks.insert(inks.end(), {rgb[0], rgb[1], rgb[2], 170});
  return inks;
}

Bytes samplesOf(std::span<const std::uint8_t> rgb, const JpegOptions& options) {
  if (options.grey) return lumaOf(rgb);
  if (isInk(options)) return inksOf(rgb);
  return {rgb.begin(), rgb.end()};
}

}  // namespace

Bytes encodeJpeg(std::uint32_t width, std::uint32_t height, std::span<const std::uint8_t> rgb,
                 const JpegOptions& options) {
  jpeg_compress_struct encoder{};
  jpeg_error_mgr errors{};  // the default handler ends the process, which is right for a test's own input
  encoder.err = jpeg_std_error(&errors);
  jpeg_create_compress(&encoder);
  unsigned char* memory = nullptr;
  unsigned long size = 0;
  jpeg_mem_dest(&encoder, &memory, &size);
  encoder.image_width = width;
  encoder.image_height = height;
  configure(encoder, options);
  jpeg_start_compress(&encoder, TRUE);
  if (options.exifOrientation > 0) writeOrientation(encoder, options.exifOrientation);
  const auto rowBytes = std::size_t{3} * width;
  while (encoder.next_scanline < encoder.image_height) {
    const auto pixels = rgb.subspan(encoder.next_scanline * rowBytes, rowBytes);
    Bytes row = samplesOf(pixels, options);
    JSAMPROW pointer = row.data();
    jpeg_write_scanlines(&encoder, &pointer, 1);
  }
  jpeg_finish_compress(&encoder);
  const std::unique_ptr<unsigned char, decltype(&std::free)> owned(memory, &std::free);
  jpeg_destroy_compress(&encoder);
  return {memory, memory + size};
}

Bytes withoutHuffmanTables(std::span<const std::uint8_t> jpeg) {
  Bytes stripped(jpeg.begin(), jpeg.end());
  for (std::size_t at = kStartAndEnd; at + 3 < stripped.size() && stripped[at + 1] != kStartOfScan;) {
    const std::size_t end = segmentEnd(stripped, at);
    const auto segment = stripped.begin() + static_cast<std::ptrdiff_t>(at);
    if (stripped[at + 1] == kHuffmanTables)
      stripped.erase(segment, segment + static_cast<std::ptrdiff_t>(end - at));
    else
      at = end;
  }
  return stripped;
}

std::size_t frameHeader(std::span<const std::uint8_t> jpeg) {
  const Bytes bytes(jpeg.begin(), jpeg.end());
  std::size_t at = kStartAndEnd;
  while (!isFrameHeader(bytes.at(at + 1)))
    at = segmentEnd(bytes, at);
  return at;
}

Bytes withHeightBehindTheScan(std::span<const std::uint8_t> jpeg) {
  Bytes late(jpeg.begin(), jpeg.end());
  const std::size_t height = frameHeader(jpeg) + kHeightInFrameHeader;
  const Bytes lines = {0xFF, 0xDC, 0, 4, late[height], late[height + 1]};
  late[height] = late[height + 1] = 0;
  late.insert(late.end() - kStartAndEnd, lines.begin(), lines.end());
  return late;
}

}  // namespace test_support
