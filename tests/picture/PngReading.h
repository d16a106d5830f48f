#pragma once

#include <optional>
#include <string>

#include "tests/picture/TestPictures.h"

namespace camera_shot_test {

struct PngChunk {
  std::string name;
  Bytes data;
};

/// The chunks of a PNG file, checked strictly: signature, lengths, checksums, nothing behind the end. Nothing
/// when any of that is wrong.
std::optional<std::vector<PngChunk>> parsePng(const Bytes& png);

/// Decoded by libpng, warnings being errors; no pixels when it refuses.
Picture decodePng(const Bytes& png);

/// `source` written with `threads` threads; empty unless the result is kWritten.
Bytes encodePng(picture::RowSource& source, unsigned threads);
Bytes encodePng(const Picture& picture, unsigned threads);

}  // namespace camera_shot_test
