#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "picture/Frame.h"
#include "picture/Thumbnail.h"
#include "picture/png/PngWriter.h"

namespace platform_linux {

/// A photo's PNG file in memory, before it is known where it is to go.
///
/// To find out for sure whether a JPEG frame is whole all of its codes must be read, and that takes a third
/// of the time of the decoding that follows. So it is decoded once, at once: what comes out is the answer and
/// the file.
struct EncodedPhoto {
  bool isMirrored = false;
  std::vector<std::vector<std::uint8_t>> pieces;  ///< the file's bytes
  picture::Thumbnail thumbnail;
};

/// Encodes the frame upright, and mirrored if that is asked for. Nothing when that failed, and `whyNot` then
/// says at what: the source fails where pixels of a frame are lost that is not known to be damaged. Blocks
/// while some threads work. Thread-safe.
[[nodiscard]] std::shared_ptr<const EncodedPhoto> encodePhoto(const picture::Frame& frame, bool isMirrored,
                                                              picture::PngResult& whyNot);

}  // namespace platform_linux
