#pragma once

#include <memory>
#include <string>

#include "picture/RowSource.h"
#include "platform/linux/photo/PictureData.h"

namespace platform_linux {

/// The rows of a captured photo, mirrored if it is to be. Nothing when its bytes are no picture, and
/// `failure` then says why. The photo must outlive the rows.
[[nodiscard]] std::unique_ptr<picture::RowSource> openRows(const PictureData& picture, std::string& failure);

}  // namespace platform_linux
