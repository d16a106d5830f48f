#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <utility>

#include "platform/linux/photo/Layer.h"
#include "platform/linux/photo/LivePicture.h"

namespace ui_test {

/// A preview layer whose frames come from the test.
class FakeCameraLayer : public platform_linux::Layer, public platform_linux::LivePicture {
 public:
  explicit FakeCameraLayer(bool mirrored = true) : mirrored_(mirrored) {}

  void setFrameListener(std::function<void()> onFrame) override {
    const std::lock_guard lock(mutex_);
    onFrame_ = std::move(onFrame);
    if (!onFrame_) latest_ = nullptr;
  }

  std::shared_ptr<const picture::Frame> latestFrame() const override {
    const std::lock_guard lock(mutex_);
    return latest_;
  }

  int error() const override {
    const std::lock_guard lock(mutex_);
    return error_;
  }

  bool mirrored() const override { return mirrored_; }

  /// As the camera does: from any thread.
  void deliver(std::shared_ptr<const picture::Frame> frame) {
    const std::lock_guard lock(mutex_);
    latest_ = std::move(frame);
    error_ = 0;
    if (onFrame_) onFrame_();
  }

  /// As the camera does when it cannot deliver: from any thread.
  void fail(int error) {
    const std::lock_guard lock(mutex_);
    latest_ = nullptr;
    error_ = error;
    if (onFrame_) onFrame_();
  }

  bool isListenedTo() const {
    const std::lock_guard lock(mutex_);
    return static_cast<bool>(onFrame_);
  }

 private:
  mutable std::mutex mutex_;
  std::function<void()> onFrame_;
  std::shared_ptr<const picture::Frame> latest_;
  int error_ = 0;
  const bool mirrored_;
};

}  // namespace ui_test
