#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/AVFoundation/AVFoundation.h"
#include "platform/Foundation/MainQueue.h"
#include "platform/Foundation/NSNotificationCenter.h"
#include "platform/linux/camera/Camera.h"
#include "platform/linux/camera/pipewire/CameraAccess.h"

namespace platform_linux {

class CameraList;
class CaptureService;
class PortalCameraAccess;
class SessionBus;

/// What the cameras of a sandboxed program need besides. Asked for when the first camera is.
struct SandboxServices {
  std::function<const SessionBus&()> bus;    ///< the bus outlives the cameras
  std::function<std::string()> cameraTitle;  ///< for people, of a camera that is not shown to us yet
};

/// The cameras of the PipeWire daemon. Main thread only.
class Cameras final : public platform::AVFoundation {
 public:
  /// Begins to connect and returns: made early, the cameras are known by the time somebody asks. Queue and
  /// notification centre outlive this object.
  Cameras(platform::MainQueue& mainQueue, platform::NSNotificationCenter& notificationCenter);
  /// In a sandbox: nothing is known and nobody asked before the first question for the cameras or for the
  /// right to use them. Until that is given, a camera that is there is one without an identity, so that
  /// people are told the truth: that it may not be used, not that it is missing.
  Cameras(platform::MainQueue& mainQueue, platform::NSNotificationCenter& notificationCenter,
          SandboxServices sandbox);
  Cameras(const Cameras&) = delete;
  Cameras& operator=(const Cameras&) = delete;
  /// After the main loop has ended. Waits for an outcome that is being delivered, and so for a photo that is
  /// being saved; captures still pending are dropped. Sessions that outlive this deliver nothing.
  ~Cameras() override;

  /// The first call waits for the daemon's answer, bounded to two seconds; not at all where there is no
  /// daemon.
  std::vector<std::shared_ptr<platform::AVCaptureDevice>> devicesWithMediaType(
      const std::string& mediaType) override;
  std::shared_ptr<platform::AVCaptureDevice> deviceWithUniqueID(const std::string& uniqueID) override;

  platform::AVAuthorizationStatus authorizationStatusForMediaType(const std::string& mediaType) override;
  void requestAccessForMediaType(const std::string& mediaType,
                                 std::function<void(bool granted)> completion) override;

  std::shared_ptr<platform::AVCaptureDeviceInput> deviceInputWithDevice(
      const std::shared_ptr<platform::AVCaptureDevice>& device,
      std::optional<platform::NSError>& error) override;
  std::shared_ptr<platform::AVCaptureSession> session() override;
  std::shared_ptr<platform::AVCapturePhotoOutput> photoOutput() override;
  std::shared_ptr<platform::AVCaptureVideoPreviewLayer> previewLayerWithSession(
      const std::shared_ptr<platform::AVCaptureSession>& session) override;

 private:
  std::vector<Camera> cameras();

  CameraAccess access_;
  std::shared_ptr<CameraList> list_;
  std::shared_ptr<CaptureService> service_;
  std::function<std::string()> hiddenCameraTitle_;
  std::shared_ptr<PortalCameraAccess> portalAccess_;  // in a sandbox only
};

}  // namespace platform_linux
