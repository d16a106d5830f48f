#include <chrono>

#include "app/AppController.h"
#include "app/Weakly.h"

namespace camera_shot {
namespace {

/// From the start of the camera to the silent shot: time for its exposure to settle.
constexpr std::chrono::milliseconds kSilentShotDelay{1000};

}  // namespace

void AppController::deviceConfigurationChanged() {
  // A run that only handles a click on a notification never opens a camera.
  if (running_ && count_ == 0) recreate();
}

void AppController::updateCameraStatus() {
  platform_.mainQueue.async(weakly(self(), &AppController::recreate));
}

void AppController::onStartPreview() {
  if (count_ == 0 && photoTaker_) photoTaker_->startPreview();
}

void AppController::onStopPreview() {
  if (count_ == 0 && photoTaker_) photoTaker_->stopPreview();
}

void AppController::recreate() {
  // The camera is left alone while the user is choosing one.
  if (preferences_->isWindowVisible()) return;
  preview_->changeCameraAvailable(mayUseCamera(), preferences_->videoCaptureDevice());

  auto& auxiliary = suite_.auxiliary;
  if (!auxiliary.isStatusOfMediaTypeDetermind(platform::AVMediaTypeVideo))
    auxiliary.requestRightsForMediaType(platform::AVMediaTypeVideo,
                                        weakly(self(), &AppController::updateCameraStatus));

  if (runWithPreferences_ || preferences_->showPreview()) {
    recreateTaker();
  } else if (auxiliary.isStatusOfMediaTypeDetermind(platform::AVMediaTypeVideo) &&
             !preferences_->isOpened()) {
    recreateSilently();
  }
  // Else the answer of the user brings the silent run back here; and who has the preferences minimised is not
  // asking for a photo.
}

void AppController::recreateSilently() {
  if (!recreateTaker()) {
    showErrorNotification();
    onQuit();
    return;
  }
  photoTaker_->startPreview();
  if (updateTimer_) updateTimer_->invalidate();
  updateTimer_ = nullptr;
  platform_.mainQueue.after(kSilentShotDelay, weakly(self(), &AppController::takePhoto));
}

bool AppController::recreateTaker() {
  const auto candidate = mayUseCamera() ? preferences_->videoCaptureDevice() : nullptr;
  if (!candidate && !currentCamera_) return false;
  if (candidate && currentCamera_ && candidate->uniqueID() == currentCamera_->uniqueID()) return true;
  currentCamera_ = candidate;
  if (!currentCamera_) {
    // The photo taker stays on purpose: a shot that is still under way ends in it.
    preview_->setCameraStatus(false);
    return false;
  }
  photoTaker_ = makePhotoTaker();
  preview_->setCameraStatus(true);
  preview_->updateLayer(photoTaker_->getLayer());
  return true;
}

std::shared_ptr<PhotoTaker> AppController::makePhotoTaker() {
  const std::weak_ptr weak = self();
  return PhotoTaker::make(
      platform_, suite_, currentCamera_,
      [weak](const std::string& path) {
        if (const auto controller = weak.lock()) controller->shotDone(path);
      },
      weakly(self(), &AppController::showErrorNotification));
}

bool AppController::mayUseCamera() const {
  return suite_.auxiliary.getStatusOfMediaType(platform::AVMediaTypeVideo);
}

}  // namespace camera_shot
