#pragma once

#include <cstdint>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "platform/linux/camera/CameraMode.h"

namespace platform_linux {

/// What sort of camera it is, in the order in which people want them.
enum class CameraKind {
  Colour,
  Infrared,  ///< made for recognising faces: grey, or named so
  Virtual    ///< another program's picture, such as a loopback's
};

/// What is known of one camera while it is plugged in.
struct Camera {
  std::string uniqueID;            ///< its identity, the same after each plugging in
  std::string localizedName = {};  ///< for people
  std::uint64_t serial = 0;        ///< of this plugging in: never used twice by its source, growing, not 0
  std::vector<CameraMode> modes = {};
  CameraKind kind = CameraKind::Colour;
  int priority = 0;        ///< the session's: the greater comes first
  std::string place = {};  ///< of the device in the system, such as /dev/video0; may be empty
  /// Whether a limited range that it states is true of RGB, too. libcamera states one for all formats.
  bool knowsRangeOfRgb = true;
};

/// The kind of a camera by what it is called and what it sends.
[[nodiscard]] CameraKind cameraKind(const std::string& localizedName, const std::vector<CameraMode>& modes);

/// A camera's name for people without what systems add to it: "Cam A (V4L2)" and "Cam A  Cam A" are "Cam A".
[[nodiscard]] std::string plainTitle(std::string title);

/// Whether a device of that name only is a part of a camera: of no use without the rest.
[[nodiscard]] bool isCalledAPartOfACamera(std::string_view name);

/// Whether a kernel driver of that name passes on what programs give it. A loopback is called by its user
/// what he likes; its driver gives itself away.
[[nodiscard]] bool isLoopbackDriver(std::string_view driver);

/// The line for the log on a camera that offers nothing but these formats, none of which can be decoded.
[[nodiscard]] std::string whyNotListed(const std::string& title, const std::set<std::string>& formats);

/// The order in which cameras are offered, the same for lists and for the choice of one: by kind, by
/// priority, by their devices' numbers, and last in the order in which they appeared.
[[nodiscard]] bool comesBefore(const Camera& a, const Camera& b);

}  // namespace platform_linux
