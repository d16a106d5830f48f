#include "app/AppController.h"

#include <chrono>
#include <utility>

#include "app/Weakly.h"

namespace camera_shot {
namespace {

using std::chrono::milliseconds;

constexpr milliseconds kCameraPoll{1000};
/// How long a run that a click launched stays after handling it.
constexpr milliseconds kQuitAfterClick{100};
/// A second activation, for desktops that drop the first one while the application comes up.
constexpr milliseconds kSecondActivation{100};

}  // namespace

std::shared_ptr<AppController> AppController::make(const platform::Platform& platform, suite::Suite& suite) {
  return std::shared_ptr<AppController>(new AppController(platform, suite));
}

AppController::AppController(const platform::Platform& platform, suite::Suite& suite)
    : platform_(platform), suite_(suite) {}

AppController::~AppController() {
  platform_.defaultNotificationCenter.removeObserver(this);
}

void AppController::start(const platform::NSApplicationLaunchNotification& notification) {
  platform_.currentNotificationCenter.setDelegate(weak_from_this());
  setUpNotificationActionsOnSuccess();
  connectToSuite();
  observeCameras();
  updateTimer_ = platform_.mainRunLoop.addRepeatingTimer(
      kCameraPoll, weakly(self(), &AppController::deviceConfigurationChanged));
  createWindowControllers();
  decideRunMode(notification);
}

void AppController::connectToSuite() {
  provider_ = suite_.common.toolDataClientProvider();
  provider_->setToolStatus(0);
}

void AppController::observeCameras() {
  auto& center = platform_.defaultNotificationCenter;
  for (const auto& name : {platform::AVCaptureDeviceWasDisconnectedNotification,
                           platform::AVCaptureDeviceWasConnectedNotification})
    center.addObserver(this, name, weakly(self(), &AppController::deviceConfigurationChanged));
}

void AppController::createWindowControllers() {
  preferences_ = PreferencesWindowController::make(
      platform_, suite_, "PreferencesWindowController", std::weak_ptr<ClientProviderProtocol>(self()),
      weakly(self(), &AppController::deviceConfigurationChanged));
  preview_ = PreviewWindowController::make(platform_, "PreviewWindowController",
                                           {.onTake = weakly(self(), &AppController::takePhoto),
                                            .onStartPreview = weakly(self(), &AppController::onStartPreview),
                                            .onStopPreview = weakly(self(), &AppController::onStopPreview),
                                            .onQuit = weakly(self(), &AppController::onQuit)});
  toolController_ = std::make_shared<suite::ToolController>(preview_, preferences_);
}

void AppController::decideRunMode(const platform::NSApplicationLaunchNotification& notification) {
  if (notification.launchUserNotification) {
    startFromNotificationClick(*notification.launchUserNotification);
    return;
  }
  const std::string identifier = platform_.mainBundle.bundleIdentifier();
  if (platform_.runningApplications.runningApplicationsWithBundleIdentifier(identifier) >= 2) {
    logCEP("Launch", suite::Dictionary{{"AnotherInstanceRunning", true}});
    platform_.application.terminate();
    return;
  }
  startNormalRun();
}

void AppController::startFromNotificationClick(const platform::UNNotificationResponse& response) {
  logCEP("Launch", suite::Dictionary{{"ClickOnNotification", true}});
  handleNotificationClick(response);
  platform_.mainQueue.after(kQuitAfterClick,
                            [&application = platform_.application] { application.terminate(); });
}

void AppController::startNormalRun() {
  provider_->setClickMenuIconBlock(weakly(self(), &AppController::take));
  running_ = true;
  provider_->setToolStatus(1);
  if (runWithPreferences_) {
    showPreferencesAtStart();
  } else if (preferences_->showPreview()) {
    showPreviewAtStart();
  } else {
    logCEP("Launch", suite::Dictionary{{"Silent", true}});
  }
  count_ = 0;
  recreate();
  platform_.mainQueue.after(kSecondActivation, [&application = platform_.application] {
    application.activateIgnoringOtherApps(true);
  });
}

void AppController::showPreferencesAtStart() {
  logCEP("Launch", suite::Dictionary{{"Preferences", true}});
  platform_.application.setActivationPolicy(platform::NSApplicationActivationPolicy::Regular);
  toolController_->showPreferences();
  platform_.application.activateIgnoringOtherApps(true);
}

void AppController::showPreviewAtStart() {
  logCEP("Launch", std::nullopt);
  platform_.application.setActivationPolicy(platform::NSApplicationActivationPolicy::Regular);
  preview_->showWindow();
  platform_.application.activateIgnoringOtherApps(true);
}

void AppController::reopen() {
  if (preferences_->showPreview()) {
    if (!toolController_->hasVisibleWindows()) toolController_->showMain();
  } else if (preferences_->isOpened()) {
    platform_.application.activateIgnoringOtherApps(true);
  } else {
    takePhoto();
  }
}

void AppController::preferencesMode() {
  if (running_) {
    toolController_->showPreferences();
  } else {
    runWithPreferences_ = true;
  }
}

}  // namespace camera_shot
