#pragma once

#include <memory>
#include <string>

#include "platform/linux/image/PictureData.h"
#include "platform/linux/image/RowSource.h"

namespace platform_linux {

/// The rows of a captured photo, mirrored if it is to be. Nothing when its bytes are no picture, and
/// `failure` then says why. The photo must outlive the rows.
[[nodiscard]] std::unique_ptr<RowSource> openRows(const PictureData& picture, std::string& failure);

}  // namespace platform_linux
