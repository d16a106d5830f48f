#include "platform/linux/camera/CameraList.h"

#include <algorithm>
#include <utility>

#include "platform/AVFoundation/AVCaptureDevice.h"
#include "platform/linux/base/Patience.h"

namespace platform_linux {
namespace {

bool contains(const std::vector<Camera>& cameras, const Camera& camera) {
  return std::any_of(cameras.begin(), cameras.end(), [&](auto& each) {
    return each.serial == camera.serial && each.uniqueID == camera.uniqueID;
  });
}

}  // namespace

std::vector<Camera> CameraList::cameras(std::chrono::milliseconds patience) {
  std::unique_lock lock(mutex_);
  waitPatiently(
      becameKnown_, lock, patience, [this] { return isKnown_; }, isProgressing_);
  // Cameras that turn up after an empty answer are news, and come with notifications.
  isKnown_ = true;
  return seen_;
}

void CameraList::update(std::vector<Camera> cameras, bool isComplete) {
  const std::vector<Camera> before = std::exchange(newest_, std::move(cameras));
  {
    const std::scoped_lock lock(mutex_);
    if (!isKnown_) {
      seen_ = newest_;
      isKnown_ = isComplete;
      isProgressing_ = !isComplete;
      becameKnown_.notify_all();
      return;
    }
  }
  for (const auto& camera : before)
    if (!contains(newest_, camera)) postChange(Change::Disconnected, camera);
  for (const auto& camera : newest_)
    if (!contains(before, camera)) postChange(Change::Connected, camera);
}

void CameraList::postChange(Change change, const Camera& camera) {
  mainQueue_.async([weakSelf = weak_from_this(), change, camera] {
    if (const auto self = weakSelf.lock()) self->apply(change, camera);
  });
}

void CameraList::apply(Change change, const Camera& camera) {
  {
    const std::scoped_lock lock(mutex_);
    if (change == Change::Connected)
      seen_.insert(std::upper_bound(seen_.begin(), seen_.end(), camera, comesBefore), camera);
    else
      std::erase_if(seen_, [&](auto& each) {
        return each.serial == camera.serial && each.uniqueID == camera.uniqueID;
      });
  }
  notificationCenter_.postNotificationName(change == Change::Connected
                                               ? platform::AVCaptureDeviceWasConnectedNotification
                                               : platform::AVCaptureDeviceWasDisconnectedNotification);
}

}  // namespace platform_linux
