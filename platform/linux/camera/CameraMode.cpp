#include "platform/linux/camera/CameraMode.h"

#include <algorithm>

namespace platform_linux {
namespace {

bool isSmooth(const CameraMode& mode) {
  return !mode.rate.stated() || std::is_gteq(compareRates(mode.rate, kSmoothRate));
}

std::uint64_t pixels(const CameraMode& mode) {
  return std::uint64_t{mode.width} * mode.height;
}

// Formats are listed in the order of preference.
std::strong_ordering compareFormats(picture::PixelFormat a, picture::PixelFormat b) {
  return static_cast<int>(b) <=> static_cast<int>(a);
}

bool isBetterSmooth(const CameraMode& a, const CameraMode& b) {
  if (isSmooth(a) != isSmooth(b)) return isSmooth(a);
  if (pixels(a) != pixels(b)) return pixels(a) > pixels(b);
  if (const auto rates = compareRates(a.rate, b.rate); std::is_neq(rates)) return std::is_gt(rates);
  return std::is_gt(compareFormats(a.format, b.format));
}

bool isBetterSlow(const CameraMode& a, const CameraMode& b) {
  if (const auto rates = compareRates(a.rate, b.rate); std::is_neq(rates)) return std::is_gt(rates);
  if (pixels(a) != pixels(b)) return pixels(a) > pixels(b);
  return std::is_gt(compareFormats(a.format, b.format));
}

}  // namespace

std::strong_ordering compareRates(const FrameRate& a, const FrameRate& b) {
  return std::uint64_t{a.numerator} * b.denominator <=> std::uint64_t{b.numerator} * a.denominator;
}

std::optional<CameraMode> highQualityMode(std::span<const CameraMode> modes) {
  if (modes.empty()) return {};
  const bool anySmooth = std::any_of(modes.begin(), modes.end(), isSmooth);
  const auto isBetter = anySmooth ? isBetterSmooth : isBetterSlow;
  // Of equals the one that the camera states first.
  return *std::min_element(modes.begin(), modes.end(), isBetter);
}

}  // namespace platform_linux
