#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/AVFoundation/AVFoundation.h"
#include "platform/Foundation/MainQueue.h"
#include "platform/Foundation/NSLog.h"
#include "platform/Foundation/NSNotificationCenter.h"
#include "platform/linux/camera/Camera.h"
#include "platform/linux/camera/CameraList.h"

namespace platform_linux {

class CaptureService;
class FrameSource;

/// The cameras of this machine. Main thread only.
class Cameras final : public platform::AVFoundation {
 public:
  /// Starts the source and returns: made early, the cameras are known by the time somebody asks. Queue,
  /// notification centre and log outlive this object. `hiddenCameraTitle` names, for people, a camera that is
  /// there but not shown because permission is missing: until that is granted it is one without an identity,
  /// so that people are told the truth: that it may not be used, not that it is missing. `patience`: how long
  /// the first question waits until the cameras are known.
  Cameras(platform::MainQueue& mainQueue, platform::NSNotificationCenter& notificationCenter,
          platform::NSLog& log, std::shared_ptr<FrameSource> source,
          std::function<std::string()> hiddenCameraTitle,
          std::chrono::milliseconds patience = kFirstEnumeration);
  Cameras(const Cameras&) = delete;
  Cameras& operator=(const Cameras&) = delete;
  /// After the main loop has ended. Waits for an outcome that is being delivered, and so for a photo that is
  /// being saved; captures still pending are dropped. Sessions that outlive this deliver nothing.
  ~Cameras() override;

  /// Turns the cameras off, without waiting: captures whose picture has not come are dropped, the others
  /// completed.
  void stop();
  /// Waits until these are completed, and so until their photos are saved. False when that takes longer than
  /// `patience`. Once, after `stop` and the end of the main loop.
  [[nodiscard]] bool waitForPhotos(std::chrono::milliseconds patience);

  /// The first call waits until the cameras are known, as long as patience lasts.
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

  std::shared_ptr<CameraList> list_;
  const std::chrono::milliseconds patience_;
  std::shared_ptr<CaptureService> service_;
  std::function<std::string()> hiddenCameraTitle_;
};

}  // namespace platform_linux
