#include <chrono>

#include "app/AppController.h"

namespace camera_shot {
namespace {

/// How the suite's analytics know a shot; both numbers are the suite's.
constexpr suite::ToolEvent kShotEvent{.data = 47, .toolStartType = 0};

/// From the moment nothing is left to do to the end: time for the notification to get out.
constexpr std::chrono::milliseconds kQuitDelay{1000};

}  // namespace

void AppController::take() {
  if (preferences_->isOpened()) {
    platform_.application.activateIgnoringOtherApps(true);
  } else {
    takePhoto();
  }
}

void AppController::takePhoto() {
  logCEP("Start", std::nullopt);
  suite_.amplitude.sendEvent(kShotEvent);
  // Raised also when there is no camera to answer, and left raised by a failed shot, on purpose: from then on
  // the run ends only when the user ends it, and nothing happens behind their back.
  ++count_;
  if (photoTaker_) photoTaker_->take();
}

void AppController::shotDone(const std::string& path) {
  logCEP("Stop", std::nullopt);
  --count_;
  showNotificationForPath(path);
  if (count_ == 0 && !preview_->isWindowVisible()) photoTaker_->stopPreview();
  onQuit();
}

void AppController::onQuit() {
  if (count_ != 0 || preferences_->isWindowVisible() || preview_->isWindowVisible()) return;
  platform_.mainQueue.after(kQuitDelay, [&application = platform_.application] { application.terminate(); });
}

}  // namespace camera_shot
