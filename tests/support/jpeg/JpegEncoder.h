#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace test_support {

/// What a stream's components are.
enum class JpegColors {
  YCbCr,
  Rgb,   ///< red, green and blue themselves
  Cmyk,  ///< inks as printing programs store them: complements, with some black
  Ycck,  ///< the same, the three others as luma and colour difference
};

/// How a JPEG stream is made; as most cameras do, where nothing else is said.
struct JpegOptions {
  int quality = 90;  ///< 1 to 100
  /// Samples of luma for one of each colour, across and down: 2 and 1 are 4:2:2.
  int lumaAcross = 2;
  int lumaDown = 1;
  bool grey = false;  ///< luma alone
  JpegColors colors = JpegColors::YCbCr;
  bool progressive = false;
  bool arithmetic = false;       ///< coded arithmetically
  int restartRows = 0;           ///< a restart marker after so many rows of blocks (MCU); none when 0
  unsigned restartBlocks = 0;    ///< likewise, after so many blocks
  unsigned exifOrientation = 0;  ///< of an Exif tag, 1 to 8; no Exif when 0
};

/// A JPEG stream of a picture of packed 8-bit RGB pixels, rows without padding.
std::vector<std::uint8_t> encodeJpeg(std::uint32_t width, std::uint32_t height,
                                     std::span<const std::uint8_t> rgb, const JpegOptions& options = {});

/// A JPEG stream without its Huffman tables: the standard's own are meant then, as with many cameras.
std::vector<std::uint8_t> withoutHuffmanTables(std::span<const std::uint8_t> jpeg);

/// Where the frame header is in a stream that encodeJpeg made: its marker, its length, then bits a sample,
/// height, width.
std::size_t frameHeader(std::span<const std::uint8_t> jpeg);

/// A stream that encodeJpeg made, which states its height behind its only scan (DNL, ITU-T T.81, B.2.5).
std::vector<std::uint8_t> withHeightBehindTheScan(std::span<const std::uint8_t> jpeg);

}  // namespace test_support
