#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "platform/linux/camera/Camera.h"

namespace platform_linux {

/// In which of its modes a session uses its camera: in the best, unless the camera has refused it. Cameras
/// also refuse what they state: two at one USB hub find no bandwidth for both at their largest (ENOSPC), and
/// some drivers state what they cannot do (EINVAL).
class ModeChoice {
 public:
  /// Nothing when the camera has no mode that can be used.
  [[nodiscard]] std::optional<CameraMode> best(const Camera& camera);
  /// Whether there is one to try besides the one that was answered last.
  [[nodiscard]] bool hasAnother() const { return !areAllRefused_ && left_.size() > 1; }
  /// The camera brought no picture in the mode that was answered last, because of `error`, an `errno`. True
  /// when there is another mode to try at once: not any more when all have been refused, after which the best
  /// is the first again.
  [[nodiscard]] bool refused(int error);

 private:
  std::uint64_t serial_ = 0;         // whose modes these are
  std::vector<CameraMode> offered_;  // when they were chosen from last
  std::vector<CameraMode> left_;
  std::optional<CameraMode> last_;
  bool areAllRefused_ = false;  // each has been, at one time
};

}  // namespace platform_linux
