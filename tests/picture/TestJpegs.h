#pragma once

#include <optional>

#include "tests/picture/TestPictures.h"

namespace camera_shot_test {

struct JpegOptions {
  int quality = 90;
  /// Horizontal and vertical sampling of luma; 2 and 1 make 4:2:2, as most cameras do.
  int lumaAcross = 2;
  int lumaDown = 1;
  bool grey = false;
  bool progressive = false;
  int restartRows = 0;
};

/// A JPEG stream of `picture`.
Bytes encodeJpeg(const Picture& picture, const JpegOptions& options = {});

/// What the reference decoder makes of a sound `jpeg` at its defaults, one row at a time.
Picture referenceDecode(const Bytes& jpeg);

/// `jpeg` without its Huffman tables, as cameras send it.
Bytes withoutHuffmanTables(const Bytes& jpeg);

/// What our own source delivers; nothing when it fails at any point.
std::optional<Picture> decodeJpeg(const Bytes& jpeg);

}  // namespace camera_shot_test
