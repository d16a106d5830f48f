#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>

#include "picture/Frame.h"

namespace platform_linux {

/// Hands a session's newest frame to one preview. Thread-safe.
class FrameFeed {
 public:
  /// Tells `onFrame` after each frame, on the camera's thread; it must not wait. None stops that and forgets
  /// the newest frame. Once this returns the old one runs no more.
  void setListener(std::function<void()> onFrame);

  /// Whether somebody listens, so that frames are worth copying.
  [[nodiscard]] bool isWanted() const { return isWanted_; }
  /// The newest frame, or nothing.
  [[nodiscard]] std::shared_ptr<const picture::Frame> latest() const;

  /// For the camera: here is a frame. Dropped when nobody listens.
  void publish(const std::shared_ptr<const picture::Frame>& frame);
  /// Why no frame comes, as an `errno`; 0 while one comes or is awaited.
  [[nodiscard]] int error() const { return error_; }
  /// For the camera: what was shown is over, because of `error`; 0: the next frame is on its way.
  void end(int error);

 private:
  void forgetFrame();

  std::atomic<bool> isWanted_ = false;
  std::atomic<int> error_ = 0;
  std::mutex listenerMutex_;  // held while the listener runs, which may ask for the latest frame
  std::function<void()> onFrame_;
  mutable std::mutex frameMutex_;
  std::shared_ptr<const picture::Frame> latest_;
};

}  // namespace platform_linux
