#include "suite/QuilloCommon/JsonLine.h"

#include <string_view>

namespace suite {
namespace {

/// The length of the well-formed UTF-8 sequence that `text` begins with (Unicode 15, table 3-7), 0 for none.
std::size_t sequenceLength(std::string_view text) {
  const auto byte = [&](std::size_t i) { return i < text.size() ? static_cast<unsigned char>(text[i]) : 0U; };
  const auto between = [](unsigned value, unsigned low, unsigned high) {
    return value >= low && value <= high;
  };
  const unsigned first = byte(0);
  if (first < 0x80) return 1;
  if (between(first, 0xC2, 0xDF)) return between(byte(1), 0x80, 0xBF) ? 2 : 0;
  const unsigned low = first == 0xE0 ? 0xA0 : first == 0xF0 ? 0x90 : 0x80;
  const unsigned high = first == 0xED ? 0x9F : first == 0xF4 ? 0x8F : 0xBF;
  if (!between(byte(1), low, high) || !between(byte(2), 0x80, 0xBF)) return 0;
  if (between(first, 0xE0, 0xEF)) return 3;
  return between(first, 0xF0, 0xF4) && between(byte(3), 0x80, 0xBF) ? 4 : 0;
}

std::string escaped(char control) {
  static constexpr char kHex[] = "0123456789abcdef";
  switch (control) {
    case '\n':
      return "\\n";
    case '\t':
      return "\\t";
    case '\r':
      return "\\r";
    default:
      return std::string("\\u00") + kHex[(control >> 4) & 15] + kHex[control & 15];
  }
}

std::string quoted(const std::string& text) {
  std::string result = "\"";
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t length = sequenceLength(std::string_view(text).substr(at));
    const char first = text[at];
    if (length == 0) {
      result += "\uFFFD";
    } else if (first == '"' || first == '\\') {
      result += {'\\', first};
    } else if (length == 1 && (static_cast<unsigned char>(first) < 0x20 || first == 0x7F)) {
      result += escaped(first);
    } else {
      result += text.substr(at, length);
    }
    at += length == 0 ? 1 : length;
  }
  return result + '"';
}

struct Value {
  std::string operator()(bool value) const { return value ? "true" : "false"; }
  std::string operator()(std::int64_t value) const { return std::to_string(value); }
  std::string operator()(const std::string& value) const { return quoted(value); }
};

}  // namespace

JsonLine& JsonLine::add(const std::string& memberName, const std::string& text) {
  name(memberName);
  text_ += quoted(text);
  return *this;
}

JsonLine& JsonLine::add(const std::string& memberName, std::int64_t number) {
  name(memberName);
  text_ += std::to_string(number);
  return *this;
}

JsonLine& JsonLine::add(const std::string& memberName, const std::optional<Dictionary>& values) {
  name(memberName);
  if (!values) {
    text_ += "null";
    return *this;
  }
  std::string members;
  for (const auto& [key, value] : *values)
    members += (members.empty() ? "" : ",") + quoted(key) + ":" + std::visit(Value{}, value);
  text_ += "{" + members + "}";
  return *this;
}

void JsonLine::name(const std::string& memberName) {
  if (text_.size() > 1) text_ += ',';
  text_ += quoted(memberName) + ':';
}

}  // namespace suite
