#pragma once

#include <string>
#include <string_view>

namespace platform_linux {

/// A key file's value for any text without NUL, also one that is not UTF-8 (a folder's name may be anything):
/// line ends, tabs, backslashes and a leading space are written as `\n`, `\r`, `\t`, `\\` and `\s`.
[[nodiscard]] std::string escapeKeyFileText(std::string_view text);

/// The reverse. A backslash that starts none of these stands for itself: people edit these files by hand.
[[nodiscard]] std::string unescapeKeyFileText(std::string_view value);

}  // namespace platform_linux
