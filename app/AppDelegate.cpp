#include "app/AppDelegate.h"

#include <chrono>
#include <string_view>

namespace camera_shot {

AppDelegate::AppDelegate(const platform::Platform& platform, suite::Suite& suite)
    : platform_(platform), suite_(suite), controller_(AppController::make(platform, suite)) {}

void AppDelegate::applicationWillFinishLaunching() {
  platform_.application.setActivationPolicy(platform::NSApplicationActivationPolicy::Prohibited);
}

void AppDelegate::applicationDidFinishLaunching(
    const platform::NSApplicationLaunchNotification& notification) {
  platform_.currentNotificationCenter.requestAuthorizationWithOptions(
      platform::UNAuthorizationOptionSound | platform::UNAuthorizationOptionAlert,
      [&log = suite_.log](bool, const std::optional<platform::NSError>& error) {
        if (error) log.VQLogVariadic("%@", {*error});
      });
  suite_.auxiliary.updateLastRun();
  controller_->start(notification);
}

bool AppDelegate::applicationShouldHandleReopen(bool) {
  controller_->reopen();
  return false;
}

bool AppDelegate::applicationOpenFile(const std::string& fileName) {
  if (std::string_view(fileName).ends_with(kToolIdentifier)) onPreferences();
  return true;
}

void AppDelegate::onPreferences() {
  auto& application = platform_.application;
  application.setActivationPolicy(platform::NSApplicationActivationPolicy::Regular);
  // On a later turn of the loop: by then the window to be brought to the front is there.
  platform_.mainQueue.after(std::chrono::milliseconds(0),
                            [&application] { application.activateIgnoringOtherApps(true); });
  controller_->preferencesMode();
}

platform::NSApplicationTerminateReply AppDelegate::applicationShouldTerminate() {
  return controller_->terminate() ? platform::NSApplicationTerminateReply::Now
                                  : platform::NSApplicationTerminateReply::Cancel;
}

void AppDelegate::applicationWillTerminate() {
  controller_->beforeTerminate();
}

}  // namespace camera_shot
