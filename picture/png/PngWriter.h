#pragma once

#include <chrono>
#include <optional>

#include "picture/ByteSink.h"
#include "picture/RowSource.h"

namespace picture {

/// What a PNG file says about its picture besides the pixels.
struct PngMetadata {
  /// When the photo was taken; written as `tIME` (UTC) and into `eXIf` (local time). Unset: neither is
  /// written.
  std::optional<std::chrono::system_clock::time_point> captureTime;
};

struct PngOptions {
  /// Threads that work at once, the calling one included; 0 chooses: as many as there are cores, three at
  /// most, or four of a source that can be read ahead.
  unsigned threads = 0;
};

enum class PngResult {
  Written,
  /// The source failed, or its picture's size is not acceptable. `RowSource::failure` says more.
  SourceFailed,
  /// The sink refused bytes; what it took so far is no picture.
  SinkFailed,
  OutOfMemory,
};

/// Writes the picture of `source` to `sink` as an 8-bit RGB PNG file in the sRGB colour space. Decoding,
/// filtering, coding and writing overlap strip by strip, so that a few strips are all that is held in memory.
/// Blocks until all is written or something failed, and then the helping threads have ended; source and sink
/// are used by one thread at a time.
[[nodiscard]] PngResult writePng(RowSource& source, const PngMetadata& metadata, ByteSink& sink,
                                 const PngOptions& options = {}) noexcept;

}  // namespace picture
