#include "tests/desktop/virtual-camera/CameraSpec.h"

#include <array>
#include <charconv>
#include <functional>
#include <map>
#include <stdexcept>
#include <utility>

namespace virtual_camera {
namespace {

constexpr std::array<std::pair<std::string_view, PixelFormat>, 5> kFormatNames{{
    {"MJPG", PixelFormat::kMjpg},
    {"YUY2", PixelFormat::kYuy2},
    {"NV12", PixelFormat::kNv12},
    {"RGB", PixelFormat::kRgb},
    {"BGRx", PixelFormat::kBgrx},
}};

[[noreturn]] void refuse(std::string_view what, std::string_view text) {
  throw std::invalid_argument(std::string(what) + ": '" + std::string(text) + "'");
}

template <typename Number>
Number parseNumber(std::string_view text, Number least, Number most, int base = 10) {
  Number number{};
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number, base);
  if (error != std::errc{} || end != text.data() + text.size() || number < least || number > most)
    refuse("not a number in range", text);
  return number;
}

std::uint64_t parseFrame(std::string_view text) {
  return parseNumber<std::uint64_t>(text, 0, FrameRange::kForever - 1);
}

/// Cuts at `separator`; with `escapes`, a backslash takes the next character as it is.
std::vector<std::string> split(std::string_view text, char separator, bool escapes = false) {
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

std::pair<std::string, std::string> cut(const std::string& text, char separator) {
  const auto at = text.find(separator);
  if (at == std::string::npos) return {text, {}};
  return {text.substr(0, at), text.substr(at + 1)};
}

Mode parseMode(const std::string& text) {
  const auto [formatText, rest] = cut(text, ':');
  const auto [sizeText, ratesText] = cut(rest, '@');
  const auto [widthText, heightText] = cut(sizeText, 'x');
  Mode mode;
  bool known = false;
  for (const auto& [name, format] : kFormatNames) {
    if (name == formatText) {
      mode.format = format;
      known = true;
    }
  }
  if (!known) refuse("no such picture format", text);
  // 65500 is the most that JPEG can hold.
  mode.width = parseNumber<std::uint32_t>(widthText, 16, 65500);
  mode.height = parseNumber<std::uint32_t>(heightText, 16, 65500);
  if (mode.width % 2 != 0 || mode.height % 2 != 0) refuse("width and height must be even", text);
  for (const auto& rate : split(ratesText, '/'))
    mode.rates.push_back(parseNumber<std::uint32_t>(rate, 1, 1000));
  return mode;
}

std::vector<Mode> parseModes(const std::string& text) {
  std::vector<Mode> modes;
  for (const auto& mode : split(text, '+'))
    modes.push_back(parseMode(mode));
  return modes;
}

FrameRange parseRange(const std::string& text) {
  const auto [first, last] = cut(text, '-');
  FrameRange range{parseFrame(first), FrameRange::kForever};
  if (text.find('-') != std::string::npos) range.last = parseFrame(last);
  if (range.last < range.first) refuse("a range that ends before it starts", text);
  return range;
}

void parseFault(const std::string& text, Faults& faults) {
  const auto [kind, when] = cut(text, ':');
  if (kind == "stall")
    faults.stall = parseFrame(when);
  else if (kind == "error")
    faults.error = parseFrame(when);
  else if (kind == "unplug")
    faults.unplug = parseFrame(when);
  else if (kind == "crash")
    faults.crash = parseFrame(when);
  else if (kind == "truncated")
    faults.truncated = parseRange(when);
  else if (kind == "corrupted-flag")
    faults.corruptedFlag = parseRange(when);
  else if (kind == "empty")
    faults.empty = parseRange(when);
  else if (text == "busy")
    faults.busy = true;
  else
    refuse("no such fault", text);
}

Colorimetry parseColorimetry(const std::string& text) {
  if (text == "stated") return Colorimetry::kStated;
  if (text == "unstated") return Colorimetry::kUnstated;
  refuse("colorimetry is 'stated' or 'unstated', not", text);
}

Idle parseIdle(const std::string& text) {
  if (text == "pause") return Idle::kPause;
  if (text == "run") return Idle::kRun;
  refuse("idle is 'pause' or 'run', not", text);
}

using Setter = std::function<void(CameraSpec&, const std::string&)>;

const std::map<std::string, Setter, std::less<>>& setters() {
  using Spec = CameraSpec;
  using Text = const std::string&;
  static const std::map<std::string, Setter, std::less<>> table{
      {"name", [](Spec& spec, Text text) { spec.name = text; }},
      {"title", [](Spec& spec, Text text) { spec.title = text; }},
      {"modes", [](Spec& spec, Text text) { spec.modes = parseModes(text); }},
      {"picture", [](Spec& spec, Text text) { spec.pictures.push_back(text); }},
      {"tint", [](Spec& spec, Text text) { spec.tint = parseNumber<std::uint32_t>(text, 0, 0xffffff, 16); }},
      {"quality", [](Spec& spec, Text text) { spec.quality = parseNumber(text, 1, 100); }},
      {"noise", [](Spec& spec, Text text) { spec.noise = parseNumber(text, 0, 127); }},
      {"warmup", [](Spec& spec, Text text) { spec.warmup = parseFrame(text); }},
      {"start-delay",
       [](Spec& spec, Text text) { spec.startDelay = parseNumber<std::uint32_t>(text, 0, 600'000); }},
      {"drop",
       [](Spec& spec, Text text) { spec.drop = parseNumber<std::uint64_t>(text, 2, FrameRange::kForever); }},
      {"colorimetry", [](Spec& spec, Text text) { spec.colorimetry = parseColorimetry(text); }},
      {"idle", [](Spec& spec, Text text) { spec.idle = parseIdle(text); }},
      {"log", [](Spec& spec, Text text) { spec.log = text; }},
      {"dump", [](Spec& spec, Text text) { spec.dump = text; }},
      {"fault", [](Spec& spec, Text text) { parseFault(text, spec.faults); }},
  };
  return table;
}

}  // namespace

std::vector<Mode> commonModes() {
  return parseModes(
      "MJPG:1280x720@30/15+MJPG:640x480@30/15+MJPG:1920x1080@30/15+YUY2:640x480@30/15+YUY2:1280x720@10+"
      "YUY2:1920x1080@5+NV12:640x480@30/15");
}

CameraSpec parseCameraSpec(std::string_view text) {
  CameraSpec spec;
  for (const auto& field : split(text, ',', true)) {
    const auto [key, value] = cut(field, '=');
    const auto setter = setters().find(key);
    if (setter == setters().end() || field.find('=') == std::string::npos)
      refuse("not a key=value that a camera knows", field);
    try {
      setter->second(spec, value);
    } catch (const std::invalid_argument& error) {
      throw std::invalid_argument(key + ": " + error.what());
    }
  }
  if (spec.name.empty()) refuse("a camera needs a name", text);
  if (spec.modes.empty() && spec.pictures.empty()) spec.modes = commonModes();
  return spec;
}

std::string_view formatName(PixelFormat format) {
  for (const auto& [name, value] : kFormatNames) {
    if (value == format) return name;
  }
  return "?";
}

}  // namespace virtual_camera
