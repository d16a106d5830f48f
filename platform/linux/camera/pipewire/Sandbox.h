#pragma once

#include <filesystem>

namespace platform_linux {

/// Whether this program runs in a sandbox, where cameras are reached through the desktop's portal: a Flatpak
/// (which has `/.flatpak-info`, Flatpak's manual, "flatpak-metadata") or a snap. A snap's environment leaks
/// into programs that are started from it, so it counts only where this program itself comes with the snap.
/// `root` and `executable` are for tests.
[[nodiscard]] bool runsInSandbox(const std::filesystem::path& root = "/",
                                 const std::filesystem::path& executable = "/proc/self/exe");

}  // namespace platform_linux
