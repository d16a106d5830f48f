#pragma once

#include <functional>
#include <string>
#include <vector>

#include "platform/AVFoundation/AVCaptureDevice.h"

namespace platform_linux {

/// Whether this user may use cameras at all. There is nobody to ask outside a sandbox: who may open the
/// capture daemon's socket has the right. No daemon is no camera, not a refusal. Any thread.
class CameraAccess {
 public:
  [[nodiscard]] platform::AVAuthorizationStatus status() const;
  /// Answers at once.
  void request(const std::function<void(bool granted)>& completion) const;
};

/// The sockets at which libpipewire looks for the daemon, in its order, by the environment.
[[nodiscard]] std::vector<std::string> daemonSocketPaths();

}  // namespace platform_linux
