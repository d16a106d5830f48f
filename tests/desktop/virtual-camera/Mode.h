#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tests/desktop/virtual-camera/PixelFormat.h"

namespace virtual_camera {

/// Frames a second; 0/1 is a rate that varies.
struct Rate {
  std::uint32_t numerator;
  std::uint32_t denominator;

  // NOLINTNEXTLINE(google-explicit-constructor): a whole number is a rate
  constexpr Rate(std::uint32_t number, std::uint32_t parts = 1) : numerator(number), denominator(parts) {}
  bool operator==(const Rate&) const = default;
};

/// Sizes from a mode's own up to `width` by `height`, in steps.
struct SizeRange {
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  std::uint32_t step = 1;

  bool operator==(const SizeRange&) const = default;
};

/// One picture format that the camera offers, with its frame rates (preferred first).
struct Mode {
  PixelFormat format = PixelFormat::kMjpg;
  std::uint32_t width = 0;  ///< with a height of 0, too: not told
  std::uint32_t height = 0;
  std::vector<Rate> rates;  ///< none: not told
  std::optional<SizeRange> sizes = std::nullopt;
  bool ratesAreRange = false;  ///< the two rates are the ends of a range

  bool operator==(const Mode&) const = default;
};

/// `FORMAT:WIDTHxHEIGHT@RATE/RATE…`, separated by `+`; "none" is no mode at all. Throws
/// std::invalid_argument.
std::vector<Mode> parseModes(const std::string& text);

}  // namespace virtual_camera
