#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/AVFoundation/AVCaptureDevice.h"
#include "platform/AVFoundation/AVCapturePhotoOutput.h"
#include "platform/AVFoundation/AVCaptureSession.h"
#include "platform/AVFoundation/AVCaptureVideoPreviewLayer.h"
#include "platform/Foundation/NSError.h"

namespace platform {

/// An interface of ours over the framework: its class operations, gathered. Main thread only.
class AVFoundation {
 public:
  virtual ~AVFoundation() = default;

  /// The cameras present now, the one to be preferred first; in the same order as long as they are the same.
  virtual std::vector<std::shared_ptr<AVCaptureDevice>> devicesWithMediaType(
      const std::string& mediaType) = 0;
  /// The camera of that identity, or nothing when it is not present.
  virtual std::shared_ptr<AVCaptureDevice> deviceWithUniqueID(const std::string& uniqueID) = 0;

  virtual AVAuthorizationStatus authorizationStatusForMediaType(const std::string& mediaType) = 0;
  /// Asks the user, once however often it is called while the answer is open; the `completion` of the last
  /// call runs on any thread once the answer is there.
  virtual void requestAccessForMediaType(const std::string& mediaType,
                                         std::function<void(bool granted)> completion) = 0;

  /// Answers nothing and fills `error` when the camera is gone.
  virtual std::shared_ptr<AVCaptureDeviceInput> deviceInputWithDevice(
      const std::shared_ptr<AVCaptureDevice>& device, std::optional<NSError>& error) = 0;
  virtual std::shared_ptr<AVCaptureSession> session() = 0;
  virtual std::shared_ptr<AVCapturePhotoOutput> photoOutput() = 0;
  virtual std::shared_ptr<AVCaptureVideoPreviewLayer> previewLayerWithSession(
      const std::shared_ptr<AVCaptureSession>& session) = 0;
};

}  // namespace platform
