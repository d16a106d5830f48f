#include "platform/linux/storage/KeyFileText.h"

namespace platform_linux {

namespace {

struct Escape {
  char character;
  char letter;
};

constexpr Escape kEscapes[] = {{'\n', 'n'}, {'\r', 'r'}, {'\t', 't'}, {'\\', '\\'}, {' ', 's'}};

}  // namespace

std::string escapeKeyFileText(std::string_view text) {
  std::string value;
  for (const char character : text) {
    const bool needed = character != ' ' || value.empty();
    const Escape* found = nullptr;
    for (const Escape& escape : kEscapes)
      if (needed && escape.character == character) found = &escape;
    if (found) {
      value += '\\';
      value += found->letter;
    } else {
      value += character;
    }
  }
  return value;
}

std::string unescapeKeyFileText(std::string_view value) {
  std::string text;
  for (std::size_t i = 0; i < value.size(); ++i) {
    char character = value[i];
    if (character == '\\' && i + 1 < value.size()) {
      for (const Escape& escape : kEscapes)
        if (escape.letter == value[i + 1]) {
          character = escape.character;
          ++i;
          break;
        }
    }
    text += character;
  }
  return text;
}

}  // namespace platform_linux
