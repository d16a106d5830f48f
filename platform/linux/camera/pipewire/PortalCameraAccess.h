#pragma once

#include <functional>
#include <memory>

#include "platform/AVFoundation/AVCaptureDevice.h"
#include "platform/Foundation/MainQueue.h"
#include "platform/linux/camera/pipewire/CameraAccess.h"
#include "platform/linux/camera/pipewire/CameraPortal.h"

namespace platform_linux {

class CaptureService;

/// The right to use cameras in a sandbox, where the user is asked for it and where nothing is known of the
/// cameras before. Where there is no portal the sandbox is open to cameras or it is not, and nobody is to be
/// asked. Main thread only.
class PortalCameraAccess : public std::enable_shared_from_this<PortalCameraAccess> {
 public:
  /// The queue outlives this object.
  PortalCameraAccess(platform::MainQueue& mainQueue, std::shared_ptr<CameraPortal> portal,
                     const std::shared_ptr<CaptureService>& service);

  /// Undetermined until the answer is there and, after a yes, the cameras are known.
  [[nodiscard]] platform::AVAuthorizationStatus status() const;

  /// Has the user asked. Requests while the answer is open are one question, and the answer goes to the last
  /// of them only: whoever asks again waits no longer for what was asked before.
  void request(std::function<void(bool granted)> completion);
  /// The same without anybody who waits for the answer.
  void ask();

  /// Whether there is a camera that is not shown for want of the right.
  [[nodiscard]] bool hidesCamera() const;

 private:
  enum class State { kUnasked, kAsked, kGranted, kRefused, kWithoutPortal };

  void onAnswer(CameraPortal::Answer answer);
  void connectThroughPortal();
  void openRemote();
  /// Becomes `state` once the service knows the cameras; in any case after the time that takes.
  std::function<void(bool)> settleLater(State state);
  void settle(State state);

  platform::MainQueue& mainQueue_;
  const std::shared_ptr<CameraPortal> portal_;
  const std::weak_ptr<CaptureService> service_;
  CameraAccess withoutPortal_;
  State state_ = State::kUnasked;
  std::function<void(bool granted)> completion_;
};

}  // namespace platform_linux
