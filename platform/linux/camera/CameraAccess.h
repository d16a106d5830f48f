#pragma once

#include <functional>

#include "platform/AVFoundation/AVCaptureDevice.h"

namespace platform_linux {

/// Whether this user may use a source's cameras. Main thread only.
class CameraAccess {
 public:
  virtual ~CameraAccess() = default;

  [[nodiscard]] virtual platform::AVAuthorizationStatus status() const = 0;
  /// Has the user asked where there is somebody to ask. Requests while the answer is open are one question,
  /// and the answer goes to the last of them only, on the main thread.
  virtual void request(std::function<void(bool granted)> completion) = 0;
  /// The same without anybody who waits for the answer: somebody wants to see the cameras.
  virtual void ask() = 0;
  /// Whether there is a camera that is not shown because permission is missing.
  [[nodiscard]] virtual bool hidesCamera() const = 0;
};

}  // namespace platform_linux
