#include "platform/linux/camera/CameraMode.h"

#include <algorithm>
#include <compare>
#include <functional>
#include <iterator>
#include <tuple>
#include <vector>

#include "picture/PixelLayout.h"

namespace platform_linux {
namespace {

bool isSmooth(const CameraMode& mode) {
  return !mode.rate.stated() || std::is_gteq(compareRates(mode.rate, kSmoothRate));
}

/// The camera's own JPEG comes first: it crosses the bus fastest and the camera vouches for it. Then what
/// keeps the most: colour at all, eight bits of it, for the fewest pixels together, unmixed, the most levels;
/// of what is alike in all that, the format that stands first in the list of all.
auto meritOf(picture::PixelFormat format) {
  constexpr std::uint8_t kUsualBits = 8;
  const auto& layout = picture::PixelLayout::of(format);
  return std::tuple(layout.model == picture::ColorModel::Compressed,
                    layout.model != picture::ColorModel::Grey, layout.bits >= kUsualBits,
                    -(layout.chromaAcross + layout.chromaDown), layout.model == picture::ColorModel::Rgb,
                    layout.bits, -static_cast<int>(format));
}

std::strong_ordering compareFormats(picture::PixelFormat a, picture::PixelFormat b) {
  return meritOf(a) <=> meritOf(b);
}

bool isBetterSmooth(const CameraMode& a, const CameraMode& b) {
  if (isSmooth(a) != isSmooth(b)) return isSmooth(a);
  if (a.pixels() != b.pixels()) return a.pixels() > b.pixels();
  if (const auto rates = compareRates(a.rate, b.rate); std::is_neq(rates)) return std::is_gt(rates);
  return std::is_gt(compareFormats(a.format, b.format));
}

bool isBetterSlow(const CameraMode& a, const CameraMode& b) {
  if (const auto rates = compareRates(a.rate, b.rate); std::is_neq(rates)) return std::is_gt(rates);
  if (a.pixels() != b.pixels()) return a.pixels() > b.pixels();
  return std::is_gt(compareFormats(a.format, b.format));
}

}  // namespace

bool isGrey(const CameraMode& mode) {
  return picture::PixelLayout::of(mode.format).model == picture::ColorModel::Grey;
}

std::strong_ordering compareRates(const FrameRate& a, const FrameRate& b) {
  return std::uint64_t{a.numerator} * b.denominator <=> std::uint64_t{b.numerator} * a.denominator;
}

bool meansAnyRate(const FrameRate& rate) {
  constexpr FrameRate kFastestRate{120, 1};
  return !rate.stated() || std::is_gt(compareRates(rate, kFastestRate));
}

std::optional<CameraMode> highQualityMode(std::span<const CameraMode> modes) {
  std::vector<CameraMode> choice;
  std::copy_if(modes.begin(), modes.end(), std::back_inserter(choice), std::not_fn(isGrey));
  if (choice.empty()) choice.assign(modes.begin(), modes.end());
  if (choice.empty()) return {};
  const bool anySmooth = std::any_of(choice.begin(), choice.end(), isSmooth);
  const auto isBetter = anySmooth ? isBetterSmooth : isBetterSlow;
  // Of equals the one that the camera states first.
  return *std::min_element(choice.begin(), choice.end(), isBetter);
}

}  // namespace platform_linux
