#include "platform/linux/camera/FrameFeed.h"

#include <utility>

namespace platform_linux {

void FrameFeed::setListener(std::function<void()> onFrame) {
  const std::scoped_lock lock(listenerMutex_);
  onFrame_ = std::move(onFrame);
  isWanted_ = static_cast<bool>(onFrame_);
  if (!onFrame_) forgetFrame();
}

std::shared_ptr<const picture::Frame> FrameFeed::latest() const {
  const std::scoped_lock lock(frameMutex_);
  return latest_;
}

void FrameFeed::publish(const std::shared_ptr<const picture::Frame>& frame) {
  const std::scoped_lock lock(listenerMutex_);
  error_ = 0;
  if (!onFrame_) return;
  {
    const std::scoped_lock frameLock(frameMutex_);
    latest_ = frame;
  }
  onFrame_();
}

void FrameFeed::end(int error) {
  const std::scoped_lock lock(listenerMutex_);
  forgetFrame();
  if (error_.exchange(error) != error && onFrame_) onFrame_();
}

void FrameFeed::forgetFrame() {
  const std::scoped_lock lock(frameMutex_);
  latest_.reset();
}

}  // namespace platform_linux
