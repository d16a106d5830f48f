#pragma once

#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "app/AppDelegate.h"
#include "tests/fakes/FakePlatform.h"

namespace camera_shot {

using namespace std::chrono_literals;

inline constexpr const char* kPreviewWindow = "PreviewWindowController";
inline constexpr const char* kPreferencesWindow = "PreferencesWindowController";

/// How a test's run starts.
struct ToolSetUp {
  bool showPreview = true;
  std::vector<std::string> cameras{"Desk camera"};
  platform::AVAuthorizationStatus authorization = platform::AVAuthorizationStatus::Authorized;
  int instances = 1;
};

/// The whole tool over fakes: launched like the real one, moved on by a manual clock, read in one journal.
struct ToolFixture : fakes::FakePlatform {
  explicit ToolFixture(const ToolSetUp& setUp = {});

  /// Everything up to the end of the launch; nothing that was put off has run yet.
  void launch(const platform::NSApplicationLaunchNotification& notification = {});
  /// A launch by the click on a notification about the file.
  void launchByClickOn(const std::string& path);
  /// A launch by a request for the preferences, which comes before the launch has finished.
  void launchForPreferences();
  AppController& controller() { return *delegate.controller(); }

  /// A camera appears or goes, and the platform says so.
  void plug(const std::string& name);
  void unplug(const std::string& name);
  /// The camera answers the oldest pending request.
  void deliverPhoto(const std::string& name = "photo");
  void failPhoto(std::int64_t code = 5) { avFoundation.output().fail(code); }
  /// The same, and whatever it has put off until the next turn of the loop.
  void savePhoto(const std::string& name = "photo");
  /// A shot that fails mirrored and then unmirrored too.
  void failShot();
  /// The user answers every open question for the camera.
  void answerAccess(platform::AVAuthorizationStatus answer);

  /// What the user does.
  void openPreferences() { delegate.applicationOpenFile(AppDelegate::kToolIdentifier); }
  /// The user starts the program again: the desktop brings the windows to the front, then tells the delegate.
  void startAgain();
  void clickMenuIcon() { controller().provider()->clickMenuIcon(); }
  void pressShoot() { previewLayout().press("shootButtonPressed"); }
  void pressClose() { previewLayout().press("closeButtonPressed"); }
  void pressDone() { preferencesLayout().press("onDoneClicked"); }
  void switchPreview(bool on);
  void chooseCamera(int index);
  /// Closes the window by the window manager's means, which may have been the last one.
  void closeWindow(const std::string& name);
  void minimise(const std::string& window) { appKit.layout(window).window->minimise(); }

  bool isVisible(const std::string& window) const;
  bool hasActiveTimer() const { return loop.activeTimers() > 0; }
  /// How many photo takers have been made.
  std::size_t takersMade() const { return avFoundation.sessions.size(); }
  fakes::FakeLayout& previewLayout() { return appKit.layout(kPreviewWindow); }
  fakes::FakeLayout& preferencesLayout() { return appKit.layout(kPreferencesWindow); }

  AppDelegate delegate{platform, suite};
};

/// The identity of a camera of that name.
inline std::string idOf(const std::string& name) {
  return "id of " + name;
}

/// The journal's line for a usage event of the controller. `details`: JSON.
std::string usageEvent(const std::string& name, bool showPreview, const std::string& details = "null");

/// The journal's line for the analytics event of a shot.
inline const std::string kShotAnalytics = "analytics \"data\":47,\"toolStartType\":0}";

/// A click, or an action, on a notification that carries the path; without one where it is empty.
platform::UNNotificationResponse clickOn(
    const std::string& path, const std::string& action = platform::UNNotificationDefaultActionIdentifier);

}  // namespace camera_shot
