#include "preferences/PreferencesWindowController.h"

#include <utility>

namespace camera_shot {

std::shared_ptr<PreferencesWindowController> PreferencesWindowController::make(
    const platform::Platform& platform, suite::Suite& suite, std::string windowNibName,
    std::weak_ptr<ClientProviderProtocol> clientProvider, std::function<void()> onPrefChanged) {
  std::shared_ptr<PreferencesWindowController> controller(new PreferencesWindowController(
      platform, suite, std::move(windowNibName), std::move(clientProvider), std::move(onPrefChanged)));
  controller->loadSettings();
  controller->observeCameras();
  return controller;
}

PreferencesWindowController::PreferencesWindowController(const platform::Platform& platform,
                                                         suite::Suite& suite, std::string windowNibName,
                                                         std::weak_ptr<ClientProviderProtocol> clientProvider,
                                                         std::function<void()> onPrefChanged)
    : QuilloWindowController(platform.appKit, std::move(windowNibName)),
      platform_(platform),
      suite_(suite),
      clientProvider_(std::move(clientProvider)),
      onPrefChanged_(std::move(onPrefChanged)) {}

void PreferencesWindowController::observeCameras() {
  // Never removed: the controller lives as long as the tool.
  auto& center = platform_.defaultNotificationCenter;
  for (const auto& name : {platform::AVCaptureDeviceWasConnectedNotification,
                           platform::AVCaptureDeviceWasDisconnectedNotification})
    center.addObserver(this, name, handler(&PreferencesWindowController::enumerateDevices));
}

platform::NSActions PreferencesWindowController::actions() {
  auto all = QuilloWindowController::actions();
  all["onVideoSelect"] = handler(&PreferencesWindowController::onVideoSelect);
  all["onPreviewChanged"] = handler(&PreferencesWindowController::onPreviewChanged);
  all["onOutputLocationChanged"] = handler(&PreferencesWindowController::onOutputLocationChanged);
  all["onDoneClicked"] = handler(&PreferencesWindowController::onDoneClicked);
  return all;
}

void PreferencesWindowController::connectOutlets() {
  previewSetting_.connect(outlet<platform::NSButton>("previewSetting"));
  videoSource_.connect(outlet<platform::NSPopUpButton>("videoSource"));
  if (auto button = outlet<platform::NSButton>("outputLocation"))
    outputLocation_ = std::make_shared<suite::OutputLocationButton>(
        suite::OutputLocationButton::Views{std::move(button),
                                           outlet<platform::NSTextField>("outputLocationWarning")},
        platform_.openPanel, platform_.defaultFileManager, platform_.mainBundle, suite_.locationManager);
}

void PreferencesWindowController::windowDidLoad() {
  connectOutlets();
  QuilloWindowController::windowDidLoad();
  previewSetting_.with([this](auto& button) {
    button.setState(showPreview() ? platform::NSControlStateValueOn : platform::NSControlStateValueOff);
  });
  window()->setDelegate(weak_from_this());
  enumerateDevices();
  updateOutputLocationText();
}

void PreferencesWindowController::updateOutputLocationText() {
  if (outputLocation_) outputLocation_->updateState();
}

void PreferencesWindowController::enumerateDevices() {
  videoSource_.with([](auto& popup) { popup.removeAllItems(); });
  videoDevices_ = suite_.captureDevices.enumerateCameras();
  videoSource_.with([this](auto& popup) { fillVideoSource(popup); });
}

void PreferencesWindowController::fillVideoSource(platform::NSPopUpButton& popup) const {
  int selected = -1;
  for (const auto& camera : videoDevices_) {
    popup.addItem({camera.name});
    if (camera.uniqueId == videoSourceID_) selected = popup.numberOfItems() - 1;
  }
  if (videoDevices_.empty()) {
    popup.addItem({platform_.mainBundle.localizedStringForKey("No camera")});
  } else {
    popup.selectItemAtIndex(selected == -1 ? 0 : selected);
  }
  popup.setEnabled(!videoDevices_.empty());
}

void PreferencesWindowController::onOutputLocationChanged() {
  if (!outputLocation_) return;
  outputLocation_->handleOutputLocationChanged([&suite = suite_](bool success, std::int64_t,
                                                                 const std::string& message,
                                                                 const suite::Dictionary& details) {
    if (!success && !message.empty()) suite.log.VQLogVariadic("%@", {message});
    suite.cepLog.log("OutputLocation", std::nullopt, details);
  });
}

bool PreferencesWindowController::isPreviewSwitchedOn() const {
  const auto button = previewSetting_.get();
  return button && button->state() == platform::NSControlStateValueOn;
}

bool PreferencesWindowController::windowShouldClose() {
  if (isPreviewSwitchedOn()) return true;
  onDoneClicked();
  return false;
}

void PreferencesWindowController::onDoneClicked() {
  if (isPreviewSwitchedOn()) {
    showCounterpart();
  } else {
    platform_.application.terminate();
  }
}

void PreferencesWindowController::windowDidChangeOcclusionState() {
  if (!isWindowVisible() && showPreview()) onPrefChanged_();
}

}  // namespace camera_shot
