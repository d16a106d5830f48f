#pragma once

#include <functional>
#include <string>
#include <vector>

#include "platform/linux/camera/CameraAccess.h"

namespace platform_linux {

/// Whether this user may use the daemon's cameras outside a sandbox. There is nobody to ask: who may open the
/// daemon's socket has permission. No daemon is no camera, not a refusal.
class SocketAccess final : public CameraAccess {
 public:
  [[nodiscard]] platform::AVAuthorizationStatus status() const override;
  /// Answers at once.
  void request(std::function<void(bool granted)> completion) override;
  void ask() override {}
  [[nodiscard]] bool hidesCamera() const override { return false; }
};

/// The sockets at which libpipewire looks for the daemon, in its order, by the environment.
[[nodiscard]] std::vector<std::string> daemonSocketPaths();

}  // namespace platform_linux
