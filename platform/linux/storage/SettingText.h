#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace platform_linux {

/// A key file's value for any text without NUL, also one that is not UTF-8 (a folder's name may be anything):
/// line ends, tabs, backslashes and a leading space are written as `\n`, `\r`, `\t`, `\\` and `\s`.
[[nodiscard]] std::string escapeKeyFileText(std::string_view text);

/// The reverse. A backslash that starts none of these stands for itself: people edit these files by hand.
[[nodiscard]] std::string unescapeKeyFileText(std::string_view value);

/// What a setting's text means as an integer, as NSUserDefaults::integerForKey says; nothing where it means
/// none.
[[nodiscard]] std::optional<std::int64_t> readInteger(std::string_view text);

}  // namespace platform_linux
