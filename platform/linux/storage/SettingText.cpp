#include "platform/linux/storage/SettingText.h"

#include <array>
#include <charconv>
#include <string>
#include <system_error>

#include <glib.h>

namespace platform_linux {

namespace {

struct Escape {
  char character;
  char letter;
};

constexpr Escape kEscapes[] = {{'\n', 'n'}, {'\r', 'r'}, {'\t', 't'}, {'\\', '\\'}, {' ', 's'}};

struct Word {
  std::string_view text;
  std::int64_t meaning;
};

/// What people write by hand, and other programs by themselves.
constexpr std::array<Word, 6> kWords{
    {{"true", 1}, {"yes", 1}, {"on", 1}, {"false", 0}, {"no", 0}, {"off", 0}}};

/// Without the blanks around, in small letters.
std::string plain(std::string_view text) {
  while (!text.empty() && g_ascii_isspace(text.front()))
    text.remove_prefix(1);
  while (!text.empty() && g_ascii_isspace(text.back()))
    text.remove_suffix(1);
  std::string result(text);
  for (char& letter : result)
    letter = g_ascii_tolower(letter);
  return result;
}

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

std::optional<std::int64_t> readInteger(std::string_view text) {
  const std::string word = plain(text);
  for (const Word& known : kWords)
    if (word == known.text) return known.meaning;
  std::int64_t number = 0;
  const char* const end = word.data() + word.size();
  const auto [stop, error] = std::from_chars(word.data(), end, number);
  return error == std::errc() && stop == end ? std::optional(number) : std::nullopt;
}

}  // namespace platform_linux
