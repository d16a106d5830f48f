#include "platform/linux/camera/Cameras.h"

#include <algorithm>
#include <cerrno>
#include <utility>

#include "platform/linux/camera/CameraThread.h"
#include "platform/linux/camera/CapturePhotoOutput.h"
#include "platform/linux/camera/CaptureService.h"
#include "platform/linux/camera/CaptureSession.h"
#include "platform/linux/camera/CaptureVideoPreviewLayer.h"

namespace platform_linux {

Cameras::Cameras(platform::MainQueue& mainQueue, platform::NSNotificationCenter& notificationCenter,
                 platform::NSLog& log, std::shared_ptr<FrameSource> source,
                 std::function<std::string()> hiddenCameraTitle, std::chrono::milliseconds patience)
    : list_(std::make_shared<CameraList>(mainQueue, notificationCenter)),
      patience_(patience),
      hiddenCameraTitle_(std::move(hiddenCameraTitle)) {
  auto loop = std::make_unique<CameraThread>();
  auto examiner = std::make_unique<FrameExaminerThread>(*loop);
  service_ = std::make_shared<CaptureService>(
      CaptureService::Parts{mainQueue, log, list_, std::move(loop), std::move(examiner), std::move(source)});
}

Cameras::~Cameras() {
  service_->shutDown();
}

void Cameras::stop() {
  service_->stopSessions();
}

bool Cameras::waitForPhotos(std::chrono::milliseconds patience) {
  return service_->waitForStills(patience);
}

std::vector<Camera> Cameras::cameras() {
  auto cameras = list_->cameras(patience_);
  if (cameras.empty() && service_->access().hidesCamera())
    cameras.push_back({.uniqueID = {}, .localizedName = hiddenCameraTitle_(), .modes = {}});
  return cameras;
}

std::vector<std::shared_ptr<platform::AVCaptureDevice>> Cameras::devicesWithMediaType(
    const std::string& mediaType) {
  if (mediaType != platform::AVMediaTypeVideo) return {};
  service_->access().ask();
  std::vector<std::shared_ptr<platform::AVCaptureDevice>> devices;
  for (auto& camera : cameras())
    devices.push_back(std::make_shared<CaptureDevice>(std::move(camera)));
  return devices;
}

std::shared_ptr<platform::AVCaptureDevice> Cameras::deviceWithUniqueID(const std::string& uniqueID) {
  for (auto& camera : cameras())
    if (camera.uniqueID == uniqueID) return std::make_shared<CaptureDevice>(std::move(camera));
  return nullptr;
}

platform::AVAuthorizationStatus Cameras::authorizationStatusForMediaType(const std::string&) {
  return service_->access().status();
}

void Cameras::requestAccessForMediaType(const std::string&, std::function<void(bool granted)> completion) {
  service_->access().request(std::move(completion));
}

std::shared_ptr<platform::AVCaptureDeviceInput> Cameras::deviceInputWithDevice(
    const std::shared_ptr<platform::AVCaptureDevice>& device, std::optional<platform::NSError>& error) {
  const auto ours = std::dynamic_pointer_cast<CaptureDevice>(device);
  const auto cameras = list_->cameras(patience_);
  const bool isPresent = ours && std::any_of(cameras.begin(), cameras.end(), [&](auto& each) {
                           return each.uniqueID == ours->camera().uniqueID;
                         });
  if (isPresent) return std::make_shared<CaptureDeviceInput>(ours->camera());
  error = platform::NSError{ENODEV, "The camera is not there"};
  return nullptr;
}

std::shared_ptr<platform::AVCaptureSession> Cameras::session() {
  return std::make_shared<CaptureSession>(service_);
}

std::shared_ptr<platform::AVCapturePhotoOutput> Cameras::photoOutput() {
  return std::make_shared<CapturePhotoOutput>(service_);
}

std::shared_ptr<platform::AVCaptureVideoPreviewLayer> Cameras::previewLayerWithSession(
    const std::shared_ptr<platform::AVCaptureSession>& session) {
  return std::make_shared<CaptureVideoPreviewLayer>(std::static_pointer_cast<CaptureSession>(session));
}

}  // namespace platform_linux
