#pragma once

#include <memory>
#include <span>
#include <string>

#include "picture/Frame.h"
#include "picture/RowSource.h"

namespace picture {

/// The rows of a frame at full size and exact, upright, then mirrored left to right if that is asked for.
/// Null when the frame is no picture, and `whyNot` then says why; reading fails where pixels are lost,
/// unless the frame is known to be damaged. The frame must outlive the rows.
[[nodiscard]] std::unique_ptr<RowSource> openPhotoRows(const Frame& frame, bool mirrored,
                                                       std::string& whyNot);

/// The same of a JPEG stream alone, which says in itself how it is to be turned.
[[nodiscard]] std::unique_ptr<RowSource> openJpegRows(std::span<const std::uint8_t> jpeg,
                                                      std::string& whyNot);

}  // namespace picture
