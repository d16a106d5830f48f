#include "tests/desktop/virtual-camera/Mode.h"

#include <string_view>
#include <utility>

#include "tests/desktop/virtual-camera/SpecText.h"

namespace virtual_camera {
namespace {

constexpr std::uint32_t kLeastLength = 16;
constexpr std::string_view kUnstated = "unstated";
constexpr std::uint32_t kMostLength = 65500;  // the most that JPEG can hold

struct Size {
  std::uint32_t width;
  std::uint32_t height;
};

Size parseSize(const std::string& text) {
  const auto [width, height] = cut(text, 'x');
  return {parseNumber(width, kLeastLength, kMostLength), parseNumber(height, kLeastLength, kMostLength)};
}

/// "30", or "30000:1001" for a rate that is no whole number, or "0" for one that varies.
Rate parseRate(const std::string& text) {
  const auto [numerator, denominator] = cut(text, ':');
  return {parseNumber(numerator, 0U, 1'000'000U),
          denominator.empty() ? 1 : parseNumber(denominator, 1U, 100'000U)};
}

void parseSizes(const std::string& text, Mode& mode) {
  if (text == kUnstated) return;
  const auto [least, most] = cut(text, "..");
  const auto size = parseSize(least);
  mode.width = size.width;
  mode.height = size.height;
  if (most.empty()) return;
  const auto [ends, step] = cut(most, '%');
  const auto largest = parseSize(ends);
  mode.sizes = {largest.width, largest.height, step.empty() ? 1 : parseNumber(step, 1U, kMostLength)};
}

void parseRates(const std::string& text, Mode& mode) {
  if (text == kUnstated) return;
  const auto [least, most] = cut(text, "..");
  mode.ratesAreRange = !most.empty();
  if (mode.ratesAreRange) {
    mode.rates = {parseRate(least), parseRate(most)};
    return;
  }
  for (const auto& rate : split(text, '/'))
    mode.rates.push_back(parseRate(rate));
}

Mode parseMode(const std::string& text) {
  const auto [formatText, rest] = cut(text, ':');
  const auto [sizes, rates] = cut(rest, '@');
  const auto format = formatOfName(formatText);
  if (!format) refuse("no such picture format", text);
  Mode mode;
  mode.format = *format;
  parseSizes(sizes, mode);
  parseRates(rates, mode);
  return mode;
}

}  // namespace

std::vector<Mode> parseModes(const std::string& text) {
  std::vector<Mode> modes;
  if (text == "none") return modes;
  for (const auto& mode : split(text, '+'))
    modes.push_back(parseMode(mode));
  return modes;
}

}  // namespace virtual_camera
