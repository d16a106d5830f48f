#include "preferences/PreferencesWindowController.h"

namespace camera_shot {
namespace {

const std::string kShowPreviewKey = "ShowPreview";
const std::string kVideoSourceIDKey = "VideoSourceID";

}  // namespace

void PreferencesWindowController::loadSettings() {
  const auto& defaults = platform_.standardUserDefaults;
  showPreview_ = 1;
  if (const auto stored = defaults.integerForKey(kShowPreviewKey))
    showPreview_ = static_cast<std::int8_t>(*stored);
  videoSourceID_ = "";
  if (defaults.objectForKey(kVideoSourceIDKey)) videoSourceID_ = defaults.stringForKey(kVideoSourceIDKey);
}

std::shared_ptr<platform::AVCaptureDevice> PreferencesWindowController::videoCaptureDevice() const {
  const auto cameras = suite_.captureDevices.enumerateCameras();
  if (cameras.empty()) return nullptr;
  for (const auto& camera : cameras)
    if (camera.uniqueId == videoSourceID_) return platform_.avFoundation.deviceWithUniqueID(videoSourceID_);
  // The stored choice stays as it is and counts again once its camera is back.
  return platform_.avFoundation.deviceWithUniqueID(cameras.front().uniqueId);
}

void PreferencesWindowController::onPreviewChanged() {
  const auto button = previewSetting_.get();
  if (!button) return;
  showPreview_ = button->state() == platform::NSControlStateValueOn;
  platform_.standardUserDefaults.setBool(showPreview(), kShowPreviewKey);
  platform_.standardUserDefaults.synchronize();
}

void PreferencesWindowController::onVideoSelect() {
  const auto popup = videoSource_.get();
  // The popup and the list are always rebuilt together, so an index names an entry, unless it is that of "No
  // camera".
  const int index = popup ? popup->indexOfSelectedItem() : -1;
  if (index < 0 || videoDevices_.empty()) return;
  videoSourceID_ = videoDevices_[static_cast<std::size_t>(index)].uniqueId;
  platform_.standardUserDefaults.setObject(videoSourceID_, kVideoSourceIDKey);
  platform_.standardUserDefaults.synchronize();
}

}  // namespace camera_shot
