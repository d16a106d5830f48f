#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/Platform.h"
#include "preferences/ClientProviderProtocol.h"
#include "suite/QuilloKit/Outlet.h"
#include "suite/QuilloKit/OutputLocationButton.h"
#include "suite/QuilloKit/QuilloWindowController.h"
#include "suite/Suite.h"

namespace camera_shot {

/// The tool's two settings, the choice of camera from them, and the window that changes them. Main thread
/// only.
///
/// The settings are read once, at creation; from then on the members are the truth, and each change in the
/// window is written through at once.
class PreferencesWindowController : public suite::QuilloWindowController {
 public:
  /// `onPrefChanged` is told when the settings are to be applied; both it and `clientProvider` are not owned.
  [[nodiscard]] static std::shared_ptr<PreferencesWindowController> make(
      const platform::Platform& platform, suite::Suite& suite, std::string windowNibName,
      std::weak_ptr<ClientProviderProtocol> clientProvider, std::function<void()> onPrefChanged);

  [[nodiscard]] bool showPreview() const { return showPreview_ != 0; }
  [[nodiscard]] const std::string& videoSourceID() const { return videoSourceID_; }
  [[nodiscard]] std::shared_ptr<ClientProviderProtocol> clientProvider() const {
    return clientProvider_.lock();
  }
  [[nodiscard]] const std::vector<suite::CaptureDevice>& videoDevices() const { return videoDevices_; }

  /// The camera to use now: the chosen one, else the first one, else nothing. Asked for afresh on every call.
  [[nodiscard]] std::shared_ptr<platform::AVCaptureDevice> videoCaptureDevice() const;

  /// Whether the user has the window open: on the screen, or minimised and about to be used again.
  [[nodiscard]] bool isOpened() const { return isWindowOpen(); }
  [[nodiscard]] bool isPreferencesDialogOpened() const { return isOpened(); }

  void updateOutputLocationText();
  /// Rebuilds the list of cameras and the popup.
  void enumerateDevices();
  void onVideoSelect();
  void onPreviewChanged();
  void onOutputLocationChanged();
  void onDoneClicked();

  [[nodiscard]] bool hidesPreferencesButton() const override { return true; }
  [[nodiscard]] bool hidesCloseButton() const override { return true; }

  void windowDidBecomeKey() override { updateOutputLocationText(); }
  /// With the preview switched off there is no window to go back to: closing is what Done is.
  bool windowShouldClose() override;
  void windowDidChangeOcclusionState() override;

 protected:
  void windowDidLoad() override;
  platform::NSActions actions() override;

 private:
  PreferencesWindowController(const platform::Platform& platform, suite::Suite& suite,
                              std::string windowNibName, std::weak_ptr<ClientProviderProtocol> clientProvider,
                              std::function<void()> onPrefChanged);

  void connectOutlets();
  void loadSettings();
  void observeCameras();
  void fillVideoSource(platform::NSPopUpButton& popup) const;
  [[nodiscard]] bool isPreviewSwitchedOn() const;

  const platform::Platform& platform_;
  suite::Suite& suite_;

  /// One signed byte: a stored integer keeps its lowest 8 bits, so that 256 reads as off.
  std::int8_t showPreview_ = 1;
  std::string videoSourceID_;
  std::weak_ptr<ClientProviderProtocol> clientProvider_;
  /// The suite's control around the layout's button; it lives as long as this controller.
  std::shared_ptr<suite::OutputLocationButton> outputLocation_;
  suite::Outlet<platform::NSButton> previewSetting_;
  suite::Outlet<platform::NSPopUpButton> videoSource_;
  std::function<void()> onPrefChanged_;
  std::vector<suite::CaptureDevice> videoDevices_;
};

}  // namespace camera_shot
