#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include <gtest/gtest.h>

#include "platform/linux/bus/SessionBus.h"
#include "platform/linux/notifications/UserNotificationCenter.h"
#include "tests/notifications/MockService.h"
#include "tests/support/MainLoop.h"

namespace camera_shot_tests {

inline const std::string kApplication = "com.verrano.quillo.CameraShot";
inline const std::string kHelper = "com.verrano.quillo.CameraShot.Notifier";
inline const std::string kShell = "org.gtk.Notifications";
inline const std::string kService = "org.freedesktop.Notifications";

/// The actions of that application's notifications.
platform_linux::NotificationActions applicationActions();

/// The request that follows a photo, as the tool makes it.
platform::UNNotificationRequest photoRequest(const std::string& path = "/home/me/A shot.png");
/// The request that follows a failure.
platform::UNNotificationRequest failureRequest();

/// Answers every call at once with nothing.
inline GVariant* done(const MockService::Call&) {
  return g_variant_new("()");
}

/// Stands for GNOME Shell, which cannot run on a machine without graphics: the method with the signature that
/// it declares, and its error for a program without a desktop file where a test asks for that. What the shell
/// makes of the dictionary is not seen here.
std::unique_ptr<MockService> makeShell(const std::string& address, MockService::Answer answer = done);
std::unique_ptr<MockService> makeHelper(const std::string& address, MockService::Answer answer = done);

/// Says how to present notifications, and notes what the user did with them.
class TestDelegate : public platform::UNUserNotificationCenterDelegate {
 public:
  void userNotificationCenterWillPresentNotification(
      const platform::UNNotification& notification,
      std::function<void(unsigned presentationOptions)> completionHandler) override;
  void userNotificationCenterDidReceiveNotificationResponse(const platform::UNNotificationResponse& response,
                                                            std::function<void()> completionHandler) override;

  unsigned options = 26;  // sound, list and banner
  std::string presented;  ///< the identifier
  std::optional<platform::UNNotificationResponse> received;
  std::function<void()> completion;  ///< of `received`, to be called by the test
};

/// A notification centre and what keeps its application from ending.
class Center {
 public:
  /// `patience`: with the bus.
  explicit Center(const std::string& applicationId = kApplication,
                  std::chrono::milliseconds patience = test_support::kPatience);

  bool held() const { return !hold_.expired(); }
  bool waitForRelease() const {
    return test_support::waitUntil([this] { return !held(); });
  }
  platform_linux::UserNotificationCenter* operator->() { return &center_; }
  int soundsPlayed() const { return soundsPlayed_; }
  /// From now on this is the small copy of every photo.
  void setThumbnail(picture::Thumbnail thumbnail) { thumbnail_ = std::move(thumbnail); }

 private:
  std::shared_ptr<void> hold();

  const platform_linux::SessionBus bus_;
  std::weak_ptr<void> hold_;
  int soundsPlayed_ = 0;
  std::optional<picture::Thumbnail> thumbnail_;
  platform_linux::UserNotificationCenter center_;
};

}  // namespace camera_shot_tests
