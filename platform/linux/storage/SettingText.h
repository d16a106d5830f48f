#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace platform_linux {

/// What a setting's text means as an integer, as NSUserDefaults::integerForKey says; nothing where it means
/// none.
[[nodiscard]] std::optional<std::int64_t> readInteger(std::string_view text);

}  // namespace platform_linux
