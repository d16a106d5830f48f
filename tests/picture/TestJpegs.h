#pragma once

#include <optional>

#include "tests/picture/TestPictures.h"
#include "tests/support/jpeg/JpegEncoder.h"

namespace camera_shot_test {

using test_support::frameHeader;
using test_support::JpegColors;
using test_support::JpegOptions;
using test_support::withHeightBehindTheScan;
using test_support::withoutHuffmanTables;

inline Bytes encodeJpeg(const Picture& picture, const JpegOptions& options = {}) {
  return test_support::encodeJpeg(picture.width, picture.height, picture.pixels, options);
}

/// What the reference decoder makes of a sound `jpeg` at its defaults, one row at a time. Of inks it gives
/// what Adobe's programs store, complements, whose product with black is the light that is left.
Picture referenceDecode(const Bytes& jpeg);

/// What our own source delivers; nothing when it fails at any point.
std::optional<Picture> decodeJpeg(const Bytes& jpeg);

/// A stream with an Exif segment in which a whole other one lies, the thumbnail.
Bytes withThumbnail(const Bytes& jpeg, const Bytes& thumbnail);

}  // namespace camera_shot_test
