#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <set>

#include "platform/Foundation/NSError.h"
#include "platform/UserNotifications/UNNotification.h"

namespace platform {

/// Asked by the centre, on the main thread. Each completion is called exactly once, before or after
/// returning.
class UNUserNotificationCenterDelegate {
 public:
  virtual ~UNUserNotificationCenterDelegate() = default;

  /// How to present a notification that arrives while the application is in front.
  virtual void userNotificationCenterWillPresentNotification(
      const UNNotification& notification,
      std::function<void(unsigned presentationOptions)> completionHandler) = 0;
  /// The user acted on a notification while the application runs.
  virtual void userNotificationCenterDidReceiveNotificationResponse(
      const UNNotificationResponse& response, std::function<void()> completionHandler) = 0;
};

/// The desktop's notifications. Main thread only; never waits for the desktop.
class UNUserNotificationCenter {
 public:
  virtual ~UNUserNotificationCenter() = default;

  virtual void setDelegate(std::weak_ptr<UNUserNotificationCenterDelegate> delegate) = 0;
  /// `completionHandler` runs later, on any thread, with whether notifications may be shown and, where that
  /// cannot be found out, why.
  virtual void requestAuthorizationWithOptions(
      unsigned options,
      std::function<void(bool granted, const std::optional<NSError>& error)> completionHandler) = 0;
  /// Replaces the categories known so far.
  virtual void setNotificationCategories(std::set<UNNotificationCategory> categories) = 0;
  /// Delivers the request when its trigger says; whether that works out is not reported.
  virtual void addNotificationRequest(const UNNotificationRequest& request) = 0;
};

}  // namespace platform
