#include "tests/desktop/virtual-camera/JpegStyle.h"

#include <functional>
#include <map>

#include "tests/desktop/virtual-camera/SpecText.h"

namespace virtual_camera {
namespace {

/// Far more than any buffer of a camera holds.
constexpr std::size_t kMostBytes = 16'000'000;

using Setter = std::function<void(JpegStyle&, const std::string&)>;

Setter sampling(JpegStyle::Sampling value) {
  return [value](JpegStyle& style, const std::string&) { style.sampling = value; };
}

Setter flag(bool JpegStyle::*member) {
  return [member](JpegStyle& style, const std::string&) { style.*member = true; };
}

Setter bytes(std::size_t JpegStyle::*member) {
  return [member](JpegStyle& style, const std::string& value) {
    style.*member = parseNumber<std::size_t>(value, 1, kMostBytes);
  };
}

const std::map<std::string, Setter, std::less<>>& setters() {
  using Sampling = JpegStyle::Sampling;
  static const std::map<std::string, Setter, std::less<>> table{
      {"422", sampling(Sampling::k422)},
      {"420", sampling(Sampling::k420)},
      {"444", sampling(Sampling::k444)},
      {"grey", sampling(Sampling::kGrey)},
      {"cmyk", sampling(Sampling::kCmyk)},
      {"ycck", sampling(Sampling::kYcck)},
      {"progressive", flag(&JpegStyle::progressive)},
      {"no-tables", flag(&JpegStyle::withoutTables)},
      {"no-end", flag(&JpegStyle::withoutEnd)},
      {"two-ends", flag(&JpegStyle::secondEnd)},
      {"late-height", flag(&JpegStyle::lateHeight)},
      {"before", bytes(&JpegStyle::before)},
      {"stray", bytes(&JpegStyle::strayAtRestart)},
      {"stray-end", bytes(&JpegStyle::strayAtEnd)},
      {"zeros", bytes(&JpegStyle::zerosAfter)},
      {"rubbish", bytes(&JpegStyle::rubbishAfter)},
      {"restart",
       [](JpegStyle& style, const std::string& value) { style.restart = parseNumber(value, 1U, 65535U); }},
      {"orientation",
       [](JpegStyle& style, const std::string& value) { style.orientation = parseNumber(value, 1U, 8U); }},
  };
  return table;
}

}  // namespace

void parseJpegWord(const std::string& text, JpegStyle& style) {
  const auto [key, value] = cut(text, ':');
  const auto setter = setters().find(key);
  if (setter == setters().end()) refuse("no such kind of JPEG", text);
  setter->second(style, value);
}

}  // namespace virtual_camera
