#pragma once

#include <memory>
#include <string>

#include "picture/Frame.h"
#include "picture/RowSource.h"

namespace picture {

/// The rows of a frame at full size and exact, upright, then mirrored left to right if that is asked for.
/// Null when the frame is no picture, and `failure` then says why. The frame must outlive the rows.
[[nodiscard]] std::unique_ptr<RowSource> openPhotoRows(const Frame& frame, bool mirrored,
                                                       std::string& failure);

}  // namespace picture
