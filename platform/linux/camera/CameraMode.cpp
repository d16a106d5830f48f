#include "platform/linux/camera/CameraMode.h"

#include <algorithm>
#include <array>
#include <functional>
#include <iterator>
#include <vector>

#include "picture/PixelLayout.h"

namespace platform_linux {
namespace {

bool isSmooth(const CameraMode& mode) {
  return !mode.rate.stated() || std::is_gteq(compareRates(mode.rate, kSmoothRate));
}

std::uint64_t pixels(const CameraMode& mode) {
  return std::uint64_t{mode.width} * mode.height;
}

/// The camera's own JPEG comes first: it crosses the bus fastest and the camera vouches for it. Then what
/// keeps the most of the colour.
constexpr std::array kPreferredFormats = {
    picture::PixelFormat::MJPG,
    // A colour for every pixel.
    picture::PixelFormat::RGB, picture::PixelFormat::BGR, picture::PixelFormat::RGBx,
    picture::PixelFormat::BGRx, picture::PixelFormat::xRGB, picture::PixelFormat::xBGR,
    picture::PixelFormat::RGBA, picture::PixelFormat::BGRA, picture::PixelFormat::ARGB,
    picture::PixelFormat::ABGR, picture::PixelFormat::Y444, picture::PixelFormat::NV24,
    // One for two pixels.
    picture::PixelFormat::YUY2, picture::PixelFormat::UYVY, picture::PixelFormat::YVYU,
    picture::PixelFormat::VYUY, picture::PixelFormat::NV16, picture::PixelFormat::Y42B,
    // One for four.
    picture::PixelFormat::P010, picture::PixelFormat::NV12, picture::PixelFormat::I420,
    picture::PixelFormat::NV21, picture::PixelFormat::YV12,
    // Few levels, or no colour at all.
    picture::PixelFormat::RGB16, picture::PixelFormat::GRAY16, picture::PixelFormat::GRAY8};
static_assert(kPreferredFormats.size() == picture::kAllPixelFormats.size());

std::strong_ordering compareFormats(picture::PixelFormat a, picture::PixelFormat b) {
  const auto* first = kPreferredFormats.begin();
  const auto* last = kPreferredFormats.end();
  return std::find(first, last, b) <=> std::find(first, last, a);
}

bool isGrey(const CameraMode& mode) {
  return picture::PixelLayout::of(mode.format).model == picture::ColorModel::Grey;
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
