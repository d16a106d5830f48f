#include "tests/notifications/CenterFixture.h"

#include <chrono>
#include <utility>

namespace camera_shot_tests {
namespace {

using platform::UNNotificationRequest;

constexpr platform::UNTimeIntervalNotificationTrigger kTrigger{std::chrono::milliseconds(100), false};

std::string notificationMethod(const std::string& name) {
  return "<method name='" + name +
         "'><arg type='s' direction='in'/><arg type='s' direction='in'/><arg type='a{sv}' "
         "direction='in'/></method>";
}

}  // namespace

platform_linux::NotificationActions applicationActions() {
  return {.actions = {{platform::UNNotificationDefaultActionIdentifier, "show-photo"},
                      {"OPEN_ACTION", "open-photo"}},
          .userInfoKey = "Path",
          .requestIdentifier = "Photo_Taken_Notification"};
}

UNNotificationRequest photoRequest(const std::string& path) {
  platform::UNMutableNotificationContent content;
  content.body = "Camera shot taken.\nClick here to show in Finder.";
  content.categoryIdentifier = "TAKE_PHOTO_CATEGORY";
  content.userInfo = {{"Path", path}};
  content.sound = platform::UNNotificationSound::DefaultSound;
  return {"Photo_Taken_Notification", content, kTrigger};
}

UNNotificationRequest failureRequest() {
  platform::UNMutableNotificationContent content;
  content.body = "Camera not found.";
  content.sound = platform::UNNotificationSound::DefaultSound;
  return {"Photo_Taken_Notification_Error", content, kTrigger};
}

std::unique_ptr<MockService> makeShell(const std::string& address, MockService::Answer answer) {
  return std::make_unique<MockService>(address, kShell, notificationMethod("AddNotification"),
                                       std::move(answer));
}

std::unique_ptr<MockService> makeHelper(const std::string& address, MockService::Answer answer) {
  return std::make_unique<MockService>(address, kHelper, notificationMethod("Post"), std::move(answer));
}

void TestDelegate::userNotificationCenterWillPresentNotification(
    const platform::UNNotification& notification, std::function<void(unsigned)> completionHandler) {
  presented = notification.request.identifier;
  completionHandler(options);
}

void TestDelegate::userNotificationCenterDidReceiveNotificationResponse(
    const platform::UNNotificationResponse& response, std::function<void()> completionHandler) {
  received = response;
  completion = std::move(completionHandler);
}

Center::Center(const std::string& applicationId, std::chrono::milliseconds patience)
    : bus_(patience),
      center_(bus_, {applicationId, applicationActions(), "Show", [this] { return hold(); },
                     [this] { ++soundsPlayed_; }, [this](const std::string&) { return thumbnail_; }}) {
  center_.setNotificationCategories({{"TAKE_PHOTO_CATEGORY", {{"OPEN_ACTION", "Open", 0}}, {}, 0}});
}

std::shared_ptr<void> Center::hold() {
  auto held = hold_.lock();
  if (!held) hold_ = held = std::make_shared<int>(0);
  return held;
}

}  // namespace camera_shot_tests
