#pragma once

#include <charconv>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

namespace virtual_camera {

/// Throws std::invalid_argument: what is wrong, and the text that is.
[[noreturn]] void refuse(std::string_view what, std::string_view text);

/// A whole number from `least` to `most`, both included; refused otherwise.
template <typename Number>
Number parseNumber(std::string_view text, Number least, Number most, int base = 10) {
  Number number{};
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number, base);
  if (error != std::errc{} || end != text.data() + text.size() || number < least || number > most)
    refuse("not a number in range", text);
  return number;
}

/// Cuts at `separator`; with `escapes`, a backslash takes the next character as it is.
std::vector<std::string> split(std::string_view text, char separator, bool escapes = false);

/// What is before the first `separator` and what is after it; the second is empty where there is none.
std::pair<std::string, std::string> cut(const std::string& text, std::string_view separator);
std::pair<std::string, std::string> cut(const std::string& text, char separator);

}  // namespace virtual_camera
