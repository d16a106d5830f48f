#pragma once

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <vector>

#include "platform/Foundation/MainQueue.h"
#include "platform/Foundation/NSNotificationCenter.h"
#include "platform/linux/camera/Camera.h"

namespace platform_linux {

/// How long the first question for the cameras waits for their first enumeration, which takes some
/// milliseconds, or for the next sign of its progress.
inline constexpr std::chrono::seconds kFirstEnumeration{2};

/// The cameras as the main thread sees them. After the first enumeration the list changes on the main thread
/// only, camera by camera, each time followed by its notification: a camera that was unplugged and plugged in
/// again at once is still seen to go and to come.
class CameraList : public std::enable_shared_from_this<CameraList> {
 public:
  CameraList(platform::MainQueue& mainQueue, platform::NSNotificationCenter& notificationCenter)
      : mainQueue_(mainQueue), notificationCenter_(notificationCenter) {}

  /// The cameras in the order in which they are offered. Waits for the first enumeration, as long as it tells
  /// something within `patience`, and never again. Main thread only.
  [[nodiscard]] std::vector<Camera> cameras(std::chrono::milliseconds patience = kFirstEnumeration);

  /// These cameras are there now, in that order; none of them when they cannot be known. As long as it is not
  /// `isComplete`, the first enumeration is not over, but under way. On the cameras' thread only.
  void update(std::vector<Camera> cameras, bool isComplete = true);

 private:
  enum class Change { Connected, Disconnected };

  void postChange(Change change, const Camera& camera);
  void apply(Change change, const Camera& camera);

  platform::MainQueue& mainQueue_;
  platform::NSNotificationCenter& notificationCenter_;
  std::vector<Camera> newest_;  // the loop's thread only
  std::mutex mutex_;            // guards what follows
  std::condition_variable becameKnown_;
  bool isKnown_ = false;
  bool isProgressing_ = false;
  std::vector<Camera> seen_;  // what the main thread sees
};

}  // namespace platform_linux
