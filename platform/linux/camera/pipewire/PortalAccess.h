#pragma once

#include <chrono>
#include <functional>
#include <memory>

#include "platform/Foundation/MainQueue.h"
#include "platform/linux/camera/pipewire/CameraPortal.h"
#include "platform/linux/camera/pipewire/SocketAccess.h"

namespace platform_linux {

class PipeWireFrameSource;

/// Permission to use cameras in a sandbox, where the user is asked for it and where nothing is known of the
/// cameras before. Where there is no portal the sandbox is open to cameras or it is not, and nobody is to be
/// asked. Main thread only.
class PortalAccess final : public CameraAccess, public std::enable_shared_from_this<PortalAccess> {
 public:
  /// The queue outlives this object. `patience`: how long after a yes the cameras are waited for.
  PortalAccess(platform::MainQueue& mainQueue, std::shared_ptr<CameraPortal> portal,
               std::weak_ptr<PipeWireFrameSource> source, std::chrono::milliseconds patience);

  /// Undetermined until the answer is there and, after a yes, the cameras are known.
  [[nodiscard]] platform::AVAuthorizationStatus status() const override;
  void request(std::function<void(bool granted)> completion) override;
  void ask() override;
  [[nodiscard]] bool hidesCamera() const override;

 private:
  enum class State { Unasked, Asked, Granted, Refused, WithoutPortal };

  void onAnswer(CameraPortal::Answer answer);
  void connectThroughPortal();
  void openRemote();
  /// Becomes `state` once the source knows the cameras; in any case after the time that takes.
  std::function<void(bool)> settleLater(State state);
  void settle(State state);

  platform::MainQueue& mainQueue_;
  const std::shared_ptr<CameraPortal> portal_;
  const std::weak_ptr<PipeWireFrameSource> source_;
  const std::chrono::milliseconds patience_;
  SocketAccess withoutPortal_;
  State state_ = State::Unasked;
  std::function<void(bool granted)> completion_;
};

}  // namespace platform_linux
