#include "tests/desktop/virtual-camera/SpecText.h"

#include <stdexcept>

namespace virtual_camera {

void refuse(std::string_view what, std::string_view text) {
  throw std::invalid_argument(std::string(what) + ": '" + std::string(text) + "'");
}

std::vector<std::string> split(std::string_view text, char separator, bool escapes) {
  std::vector<std::string> parts(1);
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (escapes && text[i] == '\\' && i + 1 < text.size())
      parts.back() += text[++i];
    else if (text[i] == separator)
      parts.emplace_back();
    else
      parts.back() += text[i];
  }
  return parts;
}

std::pair<std::string, std::string> cut(const std::string& text, std::string_view separator) {
  const auto at = text.find(separator);
  if (at == std::string::npos) return {text, {}};
  return {text.substr(0, at), text.substr(at + separator.size())};
}

std::pair<std::string, std::string> cut(const std::string& text, char separator) {
  return cut(text, std::string_view(&separator, 1));
}

}  // namespace virtual_camera
