#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "platform/Platform.h"
#include "suite/QuilloKit/HightlightedButton.h"
#include "suite/QuilloKit/Outlet.h"
#include "suite/QuilloKit/QuilloWindowController.h"

namespace camera_shot {

/// What the preview window reports upward. All are required.
struct PreviewCallbacks {
  std::function<void()> onTake;          ///< the user asked for a photo
  std::function<void()> onStartPreview;  ///< the window is visible: the live picture should run
  std::function<void()> onStopPreview;   ///< the window is not visible: the live picture may stop
  std::function<void()> onQuit;          ///< the user closed the window
};

/// The window with the live picture, the shoot button and the warning panel. Holds no capture logic: it is
/// told the camera's state and reports what the user does. Main thread only.
class PreviewWindowController : public suite::QuilloWindowController {
 public:
  [[nodiscard]] static std::shared_ptr<PreviewWindowController> make(const platform::Platform& platform,
                                                                     std::string windowNibName,
                                                                     PreviewCallbacks callbacks);

  /// Installs the live picture, always mirrored; none takes it away.
  void updateLayer(std::shared_ptr<platform::AVCaptureVideoPreviewLayer> layer);
  /// Records which camera is chosen and whether it may be used, and brings the warning panel in line.
  void changeCameraAvailable(bool available, std::shared_ptr<platform::AVCaptureDevice> cameraSource);
  /// Whether a capture is set up on a camera: the shoot button can be pressed.
  void setCameraStatus(bool ready) { setButtonLook(ready ? kReady : kDisabled); }
  /// 0: ready; 1: disabled; any other value is kept and changes nothing on the screen.
  void setButtonLook(std::int32_t look);
  void updateLabels();

  void shootButtonPressed();
  void closeButtonPressed();

  [[nodiscard]] std::int32_t buttonState() const { return buttonState_; }
  [[nodiscard]] bool cameraAvailable() const { return cameraAvailable_; }
  [[nodiscard]] const std::shared_ptr<platform::AVCaptureDevice>& cameraSource() const {
    return cameraSource_;
  }
  [[nodiscard]] const std::shared_ptr<platform::AVCaptureVideoPreviewLayer>& layer() const { return layer_; }

  /// The visibility check: tells the owner on every call, also when nothing has changed since the last.
  void windowDidChangeOcclusionState() override;

 protected:
  void windowDidLoad() override;
  platform::NSActions actions() override;

 private:
  static constexpr std::int32_t kReady = 0;
  static constexpr std::int32_t kDisabled = 1;

  PreviewWindowController(const platform::Platform& platform, std::string windowNibName,
                          PreviewCallbacks callbacks);

  void connectOutlets();
  void showWarning();
  [[nodiscard]] std::string localized(const std::string& text) const;

  const platform::Platform& platform_;

  suite::Outlet<platform::NSView> captureView_;
  suite::Outlet<platform::NSView> warningView_;
  suite::Outlet<platform::NSImageView> warningImage_;
  suite::Outlet<platform::NSTextField> warningText_;
  suite::Outlet<platform::NSTextField> warningDescription_;
  const PreviewCallbacks callbacks_;
  /// The suite's two-image button around the layout's; absent until the window is loaded.
  std::shared_ptr<suite::HightlightedButton> button_;
  std::int32_t buttonState_ = kDisabled;
  bool cameraAvailable_ = false;
  std::shared_ptr<platform::AVCaptureDevice> cameraSource_;
  std::shared_ptr<platform::AVCaptureVideoPreviewLayer> layer_;
};

}  // namespace camera_shot
