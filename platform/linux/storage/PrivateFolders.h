#pragma once

#include <filesystem>

namespace platform_linux {

/// Makes the missing folders on the way to `folder`, and that one too, for the user alone (0700). Answers
/// whether the folder is there; errno says why not.
[[nodiscard]] bool makePrivateFolders(const std::filesystem::path& folder);

}  // namespace platform_linux
