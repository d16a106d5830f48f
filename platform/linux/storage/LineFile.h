#pragma once

#include <cstdint>
#include <string>

namespace platform_linux {

/// Adds a line to a file that several processes add to at the same time, as NSFileManager::appendLine says.
/// Thread-safe.
[[nodiscard]] bool appendLineTo(const std::string& path, const std::string& line, std::int64_t mostBytes);

}  // namespace platform_linux
