#pragma once

#include <algorithm>
#include <compare>
#include <cstdint>
#include <optional>
#include <span>

#include "picture/Frame.h"

namespace platform_linux {

/// Frames a second as a fraction; 0/1 stands for a rate that the camera does not state.
struct FrameRate {
  std::uint32_t numerator = 0;
  std::uint32_t denominator = 1;

  [[nodiscard]] bool stated() const { return numerator != 0 && denominator != 0; }
  bool operator==(const FrameRate&) const = default;
};

/// The faster is the greater.
[[nodiscard]] std::strong_ordering compareRates(const FrameRate& a, const FrameRate& b);

/// One way in which a camera can deliver pictures, of a format that can be decoded here.
struct CameraMode {
  picture::PixelFormat format = picture::PixelFormat::MJPG;
  std::uint32_t width = 0;  ///< pixels; with a height of 0, too: of JPEG streams that only tell it themselves
  std::uint32_t height = 0;  ///< pixels
  FrameRate rate;

  [[nodiscard]] bool saysSize() const { return width != 0 && height != 0; }
  [[nodiscard]] std::uint64_t pixels() const { return std::uint64_t{width} * height; }
  bool operator==(const CameraMode&) const = default;
};

/// Whether the upper end of a range of sizes is a program's or a driver's "anything", not a sensor's. That of
/// v4l2loopback is 8192x8192.
[[nodiscard]] constexpr bool meansAnySize(std::uint32_t width, std::uint32_t height) {
  constexpr std::uint32_t kLargestSide = 8192;
  return std::max(width, height) > kLargestSide || std::min(width, height) == kLargestSide;
}

/// Whether the upper end of a range of rates is such an "anything", or not stated.
[[nodiscard]] bool meansAnyRate(const FrameRate& rate);

/// Whether its pictures have no colour.
[[nodiscard]] bool isGrey(const CameraMode& mode);

/// Below this rate, in frames a second, a preview is seen to stutter: that of film.
inline constexpr FrameRate kSmoothRate{24, 1};

/// The mode for the session preset "High": among the modes of at least `kSmoothRate` the largest picture,
/// then the faster, then the camera's own JPEG before uncompressed formats, and of those the ones with the
/// most colour. A grey mode, however large, only when there is no other. When no mode is that fast, the
/// largest picture among the fastest modes. A mode without a stated rate counts as fast enough: systems that
/// state none run their cameras at video rates. Nothing when there is no mode.
[[nodiscard]] std::optional<CameraMode> highQualityMode(std::span<const CameraMode> modes);

}  // namespace platform_linux
