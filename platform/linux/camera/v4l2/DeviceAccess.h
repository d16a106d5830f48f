#pragma once

#include "platform/linux/camera/CameraAccess.h"
#include "platform/linux/camera/v4l2/DeviceCalls.h"

namespace platform_linux {

/// Whether this user may open the video devices. There is nobody to ask: the administrator decides, or the
/// seat to which the session belongs.
class DeviceAccess final : public CameraAccess {
 public:
  /// `calls` outlives this.
  explicit DeviceAccess(const DeviceCalls& calls) : calls_(calls) {}

  [[nodiscard]] platform::AVAuthorizationStatus status() const override {
    return calls_.areAllRefused() ? platform::AVAuthorizationStatus::Denied
                                  : platform::AVAuthorizationStatus::Authorized;
  }
  /// Answers at once.
  void request(std::function<void(bool granted)> completion) override { completion(!calls_.areAllRefused()); }
  void ask() override {}
  [[nodiscard]] bool hidesCamera() const override { return calls_.areAllRefused(); }

 private:
  const DeviceCalls& calls_;
};

}  // namespace platform_linux
