#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "picture/PixelSize.h"

namespace picture {

class ExifBlock;

/// One marker segment of a JPEG stream's header (ITU-T T.81, Annex B).
struct JpegSegment {
  /// The marker's second byte: 0xE1 for APP1, 0xDA for the start of a scan.
  std::uint8_t marker = 0;
  /// Where the segment begins (its 0xFF byte) and how many bytes it takes, marker and length included.
  std::size_t offset = 0;
  std::size_t size = 0;
  /// What follows the length field.
  std::span<const std::uint8_t> payload;
};

/// The marker segments from behind the start-of-image marker up to and including the first start of scan, in
/// file order. Bytes between segments that belong to none are passed over, as decoders do. Nothing when the
/// stream does not begin as a JPEG stream or ends, or goes wrong, before its first scan.
[[nodiscard]] std::optional<std::vector<JpegSegment>> jpegHeaderSegments(std::span<const std::uint8_t> jpeg);

/// The size that a stream's frame header states, or behind its scan where it leaves the height open (as the
/// next one); nothing when there is none that is acceptable.
[[nodiscard]] std::optional<PixelSize> sizeOfJpeg(std::span<const std::uint8_t> jpeg);

/// A copy of `jpeg` whose frame header states the height that it leaves open, 0, for the first scan to be
/// followed by it (DNL, ITU-T T.81, B.2.5), which decoders do not read. Nothing when it is not so.
[[nodiscard]] std::optional<std::vector<std::uint8_t>> jpegWithItsHeight(std::span<const std::uint8_t> jpeg);

/// The Exif block of a JPEG stream; nothing when there is none or it cannot be read.
[[nodiscard]] std::optional<ExifBlock> exifOfJpeg(std::span<const std::uint8_t> jpeg);

/// A copy of `jpeg` with `exif` as the first segment. An Exif segment that is already there is left out;
/// every other byte stays as it is. Nothing when `jpeg` does not have a well-formed header.
[[nodiscard]] std::optional<std::vector<std::uint8_t>> jpegWithExif(std::span<const std::uint8_t> jpeg,
                                                                    const ExifBlock& exif);

}  // namespace picture
