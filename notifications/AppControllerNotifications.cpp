#include <chrono>

#include "app/AppController.h"
#include "notifications/NotificationIdentifiers.h"

namespace camera_shot {
namespace {

/// Delivered a tenth of a second after posting, not at once.
constexpr platform::UNTimeIntervalNotificationTrigger kTrigger{std::chrono::milliseconds(100), false};

}  // namespace

void AppController::setUpNotificationActionsOnSuccess() {
  platform::UNNotificationAction open;
  open.identifier = kOpenAction;
  open.title = localized("Open");
  platform::UNNotificationCategory category;
  category.identifier = kTakePhotoCategory;
  category.actions = {open};
  platform_.currentNotificationCenter.setNotificationCategories({category});
}

void AppController::showNotificationForPath(const std::string& path) {
  platform_.application.activateIgnoringOtherApps(true);
  scheduleLocalNotification(path);
}

void AppController::showErrorNotification() {
  platform_.application.activateIgnoringOtherApps(true);
  scheduleLocalNotificationOnFailure();
}

void AppController::scheduleLocalNotification(const std::string& path) {
  platform::UNMutableNotificationContent content;
  content.sound = platform::UNNotificationSound::DefaultSound;
  if (platform_.defaultFileManager.fileExistsAtPath(path)) {
    content.categoryIdentifier = kTakePhotoCategory;
    content.body = localized("Camera shot taken.\nClick here to show in Finder.");
    content.userInfo = {{kPathKey, path}};
  } else {
    content.body = localized("Unable to take camera shot.");
  }
  platform_.currentNotificationCenter.addNotificationRequest({kPhotoTaken, content, kTrigger});
}

void AppController::scheduleLocalNotificationOnFailure() {
  platform::UNMutableNotificationContent content;
  content.sound = platform::UNNotificationSound::DefaultSound;
  content.body = failureText();
  platform_.currentNotificationCenter.addNotificationRequest({kPhotoTakenError, content, kTrigger});
}

std::string AppController::failureText() const {
  // Judged anew from the camera and the permission as they are now, camera first, not from what caused the
  // call.
  if (!preferences_->videoCaptureDevice()) return localized("Camera not found.");
  if (!mayUseCamera()) return localized("Allow access to the camera in the macOS Privacy settings.");
  return localized("Error occured");
}

void AppController::handleNotificationClick(const platform::UNNotificationResponse& response) {
  const auto& userInfo = response.notification.request.content.userInfo;
  const auto path = userInfo.find(kPathKey);
  if (path == userInfo.end()) return;
  if (response.actionIdentifier == platform::UNNotificationDefaultActionIdentifier) {
    platform_.sharedWorkspace.selectFile(path->second, "");
  } else {
    platform_.sharedWorkspace.openFileURL(path->second);
  }
}

void AppController::userNotificationCenterWillPresentNotification(
    const platform::UNNotification&, std::function<void(unsigned presentationOptions)> completionHandler) {
  completionHandler(platform::UNNotificationPresentationOptionSound |
                    platform::UNNotificationPresentationOptionList |
                    platform::UNNotificationPresentationOptionBanner);
}

void AppController::userNotificationCenterDidReceiveNotificationResponse(
    const platform::UNNotificationResponse& response, std::function<void()> completionHandler) {
  handleNotificationClick(response);
  completionHandler();
}

std::string AppController::localized(const std::string& text) const {
  return platform_.mainBundle.localizedStringForKey(text);
}

}  // namespace camera_shot
