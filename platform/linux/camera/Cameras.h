#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/AVFoundation/AVFoundation.h"
#include "platform/Foundation/MainQueue.h"
#include "platform/Foundation/NSNotificationCenter.h"
#include "platform/linux/camera/CameraAccess.h"

namespace platform_linux {

class CameraList;
class CaptureService;

/// The cameras of the PipeWire daemon. Main thread only.
class Cameras final : public platform::AVFoundation {
 public:
  /// Begins to connect and returns: made early, the cameras are known by the time somebody asks. Queue and
  /// notification centre outlive this object.
  Cameras(platform::MainQueue& mainQueue, platform::NSNotificationCenter& notificationCenter);
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
  CameraAccess access_;
  std::shared_ptr<CameraList> list_;
  std::shared_ptr<CaptureService> service_;
};

}  // namespace platform_linux
