#pragma once

#include <optional>

#include "tests/picture/TestPictures.h"
#include "tests/support/jpeg/JpegEncoder.h"

namespace camera_shot_test {

using test_support::JpegOptions;
using test_support::withoutHuffmanTables;

inline Bytes encodeJpeg(const Picture& picture, const JpegOptions& options = {}) {
  return test_support::encodeJpeg(picture.width, picture.height, picture.pixels, options);
}

/// What the reference decoder makes of a sound `jpeg` at its defaults, one row at a time.
Picture referenceDecode(const Bytes& jpeg);

/// What our own source delivers; nothing when it fails at any point.
std::optional<Picture> decodeJpeg(const Bytes& jpeg);

}  // namespace camera_shot_test
