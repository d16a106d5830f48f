#pragma once

#include <cstdint>
#include <limits>
#include <optional>
#include <vector>

#include "platform/linux/camera/Camera.h"

namespace platform_linux {

/// In which of its modes a session uses its camera: in the best, unless the camera has refused it or says
/// nothing in it. Cameras also refuse what they state: two at one USB hub find no bandwidth for both at their
/// largest (ENOSPC), some drivers state what they cannot do (EINVAL), or what there is no memory for
/// (ENOMEM). Weak hubs and the USB of virtual machines take the largest mode and bring nothing.
class ModeChoice {
 public:
  /// Nothing when the camera has no mode that can be used.
  [[nodiscard]] std::optional<CameraMode> best(const Camera& camera);
  /// Whether there is one to try besides the one that was answered last.
  [[nodiscard]] bool hasAnother() const { return !areAllRefused_ && left_.size() > 1; }
  /// The camera brought no picture in the mode that was answered last, because of `error`, an `errno`. True
  /// when there is another mode to try at once: not any more when all have been refused, after which the best
  /// is the first again. A fault of the device (EIO) may be gone the next time; the second one counts.
  [[nodiscard]] bool refused(int error);
  /// The mode that was answered last brings pictures.
  void works() { hasFailed_ = false; }
  /// The camera said nothing in the mode that was answered last. The next smaller one is tried once; if that
  /// is silent, too, the best again, as the camera may only be slow to begin.
  void silent();
  /// Whether the mode that was answered last, or is next, is only tried because a better one was silent.
  [[nodiscard]] bool isDetour() const { return isDetour_; }

 private:
  /// Whether there is a smaller mode to try.
  [[nodiscard]] bool hasSmaller() const;

  std::uint64_t serial_ = 0;         // whose modes these are
  std::vector<CameraMode> offered_;  // when they were chosen from last
  std::vector<CameraMode> left_;
  std::optional<CameraMode> last_;
  bool areAllRefused_ = false;  // each has been, at one time
  bool hasFailed_ = false;      // the last one has, once
  bool isDetour_ = false;
  std::uint64_t silent_ = std::numeric_limits<std::uint64_t>::max();  // pixels of the smallest silent mode
};

}  // namespace platform_linux
