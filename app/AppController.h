#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "capture/PhotoTaker.h"
#include "platform/Platform.h"
#include "preferences/ClientProviderProtocol.h"
#include "preferences/PreferencesWindowController.h"
#include "preview/PreviewWindowController.h"
#include "suite/QuilloKit/ToolController.h"
#include "suite/Suite.h"

namespace camera_shot {

/// The tool's one controller: decides at launch how the run goes, keeps one photo taker bound to the chosen
/// camera, drives each shot from request to file to notification, and reports the usage events. Main thread
/// only.
///
/// Its operations live where they belong: start-up and camera in `app/`, notifications in `notifications/`,
/// events in `events/`.
class AppController : public platform::UNUserNotificationCenterDelegate,
                      public ClientProviderProtocol,
                      public std::enable_shared_from_this<AppController> {
 public:
  [[nodiscard]] static std::shared_ptr<AppController> make(const platform::Platform& platform,
                                                           suite::Suite& suite);
  ~AppController() override;

  /// Wires the tool to the suite and decides the run mode.
  void start(const platform::NSApplicationLaunchNotification& notification);
  void reopen();
  /// Before start-up has committed to a normal run: makes it open the preferences. Later: shows them.
  void preferencesMode();
  [[nodiscard]] bool terminate() const { return true; }
  void beforeTerminate() { logCEP("Quit", std::nullopt); }

  /// A camera may have come or gone, or the settings have changed; waits until no shot is pending.
  void deviceConfigurationChanged();
  /// The user has answered the question for the camera. Any thread.
  void updateCameraStatus();
  void onStartPreview();
  void onStopPreview();
  void onQuit();

  /// The menu icon's click: a shot, unless the user is in the preferences.
  void take();
  /// Requests one shot. Two quick requests are two shots.
  void takePhoto();

  void setUpNotificationActionsOnSuccess();
  void showNotificationForPath(const std::string& path);
  void showErrorNotification();
  /// Does what the user's click on a notification asks.
  void handleNotificationClick(const platform::UNNotificationResponse& response);
  void userNotificationCenterWillPresentNotification(
      const platform::UNNotification& notification,
      std::function<void(unsigned presentationOptions)> completionHandler) override;
  void userNotificationCenterDidReceiveNotificationResponse(const platform::UNNotificationResponse& response,
                                                            std::function<void()> completionHandler) override;

  [[nodiscard]] std::shared_ptr<suite::ToolDataClientProvider> provider() const override { return provider_; }
  [[nodiscard]] std::int32_t count() const { return count_; }
  [[nodiscard]] bool running() const { return running_; }
  [[nodiscard]] bool runWithPreferences() const { return runWithPreferences_; }
  [[nodiscard]] const std::shared_ptr<PreviewWindowController>& preview() const { return preview_; }
  [[nodiscard]] const std::shared_ptr<PreferencesWindowController>& preferences() const {
    return preferences_;
  }
  [[nodiscard]] const std::shared_ptr<PhotoTaker>& photoTaker() const { return photoTaker_; }
  [[nodiscard]] const std::shared_ptr<platform::AVCaptureDevice>& currentCamera() const {
    return currentCamera_;
  }

 private:
  AppController(const platform::Platform& platform, suite::Suite& suite);

  void connectToSuite();
  void observeCameras();
  void createWindowControllers();
  void decideRunMode(const platform::NSApplicationLaunchNotification& notification);
  void startFromNotificationClick(const platform::UNNotificationResponse& response);
  void startNormalRun();
  void showPreferencesAtStart();
  void showPreviewAtStart();

  /// Brings the preview and the photo taker in line with the cameras and the settings.
  void recreate();
  /// The silent run's half of it: the shot is on its way, or the reason why not is told.
  void recreateSilently();
  /// Answers whether there is a usable photo taker.
  bool recreateTaker();
  std::shared_ptr<PhotoTaker> makePhotoTaker();

  void shotDone(const std::string& path);
  void scheduleLocalNotification(const std::string& path);
  void scheduleLocalNotificationOnFailure();
  [[nodiscard]] std::string failureText() const;
  [[nodiscard]] std::string localized(const std::string& text) const;

  void logCEP(const std::string& event, const std::optional<suite::Dictionary>& details);
  [[nodiscard]] bool mayUseCamera() const;
  std::shared_ptr<AppController> self() { return shared_from_this(); }

  const platform::Platform& platform_;
  suite::Suite& suite_;

  bool runWithPreferences_ = false;
  bool running_ = false;
  /// Shots requested and not yet reported as saved. Zero means idle: every camera change and every quit waits
  /// for it.
  std::int32_t count_ = 0;
  std::shared_ptr<suite::ToolDataClientProvider> provider_;
  std::shared_ptr<PreviewWindowController> preview_;
  std::shared_ptr<PreferencesWindowController> preferences_;
  std::shared_ptr<suite::ToolController> toolController_;
  std::shared_ptr<platform::NSTimer> updateTimer_;
  /// Built for `currentCamera_` whenever there is one; the last one stays when the camera is gone.
  std::shared_ptr<PhotoTaker> photoTaker_;
  std::shared_ptr<platform::AVCaptureDevice> currentCamera_;
};

}  // namespace camera_shot
