#include "preview/PreviewWindowController.h"

#include <utility>

namespace camera_shot {
namespace {

/// The name by which every platform knows the sound of a shutter; each maps it to its own.
const std::string kShutterSoundFile =
    "/System/Library/Components/CoreAudio.component/Contents/SharedSupport/SystemSounds/system/Grab.aif";

}  // namespace

std::shared_ptr<PreviewWindowController> PreviewWindowController::make(const platform::Platform& platform,
                                                                       std::string windowNibName,
                                                                       PreviewCallbacks callbacks) {
  return std::shared_ptr<PreviewWindowController>(
      new PreviewWindowController(platform, std::move(windowNibName), std::move(callbacks)));
}

PreviewWindowController::PreviewWindowController(const platform::Platform& platform,
                                                 std::string windowNibName, PreviewCallbacks callbacks)
    : QuilloWindowController(platform.appKit, std::move(windowNibName)),
      platform_(platform),
      callbacks_(std::move(callbacks)) {}

platform::NSActions PreviewWindowController::actions() {
  auto all = QuilloWindowController::actions();
  all["shootButtonPressed"] = handler(&PreviewWindowController::shootButtonPressed);
  all["closeButtonPressed"] = handler(&PreviewWindowController::closeButtonPressed);
  return all;
}

void PreviewWindowController::connectOutlets() {
  captureView_.connect(outlet<platform::NSView>("captureView"));
  warningView_.connect(outlet<platform::NSView>("warningView"));
  warningImage_.connect(outlet<platform::NSImageView>("warningImage"));
  warningText_.connect(outlet<platform::NSTextField>("warningText"));
  warningDescription_.connect(outlet<platform::NSTextField>("warningDescription"));
  if (auto button = outlet<platform::NSButton>("button"))
    button_ = std::make_shared<suite::HightlightedButton>(std::move(button));
  window()->setDelegate(weak_from_this());
}

void PreviewWindowController::windowDidLoad() {
  connectOutlets();
  QuilloWindowController::windowDidLoad();
  const auto shown = window();
  shown->setStyleMask(shown->styleMask() | platform::NSWindowStyleMaskResizable);
  shown->setFrameAutosaveName("PreviewWindowController");
  setButtonLook(buttonState_);
  windowDidChangeOcclusionState();
  updateLayer(layer_);
}

void PreviewWindowController::windowDidChangeOcclusionState() {
  // Visible means on the screen: a window that others cover still shows its live picture.
  if (isWindowVisible()) {
    callbacks_.onStartPreview();
  } else {
    callbacks_.onStopPreview();
  }
}

void PreviewWindowController::updateLayer(std::shared_ptr<platform::AVCaptureVideoPreviewLayer> layer) {
  layer_ = std::move(layer);
  const auto connection = layer_ ? layer_->connection() : nullptr;
  if (connection && connection->isVideoMirroringSupported()) {
    connection->setAutomaticallyAdjustsVideoMirroring(false);
    connection->setVideoMirrored(true);
  }
  if (const auto view = captureView_.get()) {
    view->setLayer(layer_);
    windowDidChangeOcclusionState();
  }
}

void PreviewWindowController::changeCameraAvailable(bool available,
                                                    std::shared_ptr<platform::AVCaptureDevice> cameraSource) {
  cameraAvailable_ = available;
  cameraSource_ = std::move(cameraSource);
  updateLabels();
}

void PreviewWindowController::setButtonLook(std::int32_t look) {
  buttonState_ = look;
  if (!button_ || (look != kReady && look != kDisabled)) return;
  auto& images = platform_.appKit;
  button_->setOriginalImage(images.imageNamed("TakePhoto"),
                            images.imageNamed(look == kReady ? "TakePhotoPressed" : "TakePhoto"));
  button_->setEnabled(look == kReady);
}

void PreviewWindowController::updateLabels() {
  showWarning();
  // The camera is looked at first: without one, permission to use it is no question.
  if (!cameraSource_) {
    warningText_.with([this](auto& text) { text.setStringValue(localized("No camera found")); });
    warningDescription_.with([](auto& text) { text.setHidden(true); });
  } else if (!cameraAvailable_) {
    warningText_.with([this](auto& text) {
      text.setStringValue(localized("The tool is not allowed to access the camera."));
    });
    warningDescription_.with([this](auto& text) {
      text.setHidden(false);
      text.setStringValue(localized(
          "Please open the macOS System Preferences > Security & Privacy > Privacy and allow \"Verrano "
          "Quillo\" to access the camera."));
    });
  } else {
    warningView_.with([](auto& view) { view.setHidden(true); });
  }
}

void PreviewWindowController::showWarning() {
  warningView_.with([](auto& view) {
    view.setWantsLayer(true);
    view.setHidden(false);
    if (const auto layer = view.layer()) layer->setBackgroundColor(platform::kBlackColor);
  });
  warningImage_.with([this](auto& view) { view.setImage(platform_.appKit.imageNamed("CameraOff")); });
}

std::string PreviewWindowController::localized(const std::string& text) const {
  return platform_.mainBundle.localizedStringForKey(text);
}

void PreviewWindowController::shootButtonPressed() {
  if (!button_ || !button_->isEnabled()) return;
  callbacks_.onTake();
  // Loaded anew for every shot, and after the request: a sound must never hold up a photo.
  if (const auto sound = platform_.appKit.soundWithContentsOfFile(kShutterSoundFile, true)) sound->play();
}

void PreviewWindowController::closeButtonPressed() {
  if (const auto shown = loadedWindow()) shown->orderOut();
  callbacks_.onQuit();
}

}  // namespace camera_shot
