#include "platform/linux/camera/Cameras.h"

#include <algorithm>
#include <cerrno>
#include <utility>

#include "platform/linux/camera/CameraList.h"
#include "platform/linux/camera/CapturePhotoOutput.h"
#include "platform/linux/camera/CaptureService.h"
#include "platform/linux/camera/CaptureSession.h"
#include "platform/linux/camera/CaptureVideoPreviewLayer.h"
#include "platform/linux/camera/pipewire/PortalCameraAccess.h"

namespace platform_linux {

Cameras::Cameras(platform::MainQueue& mainQueue, platform::NSNotificationCenter& notificationCenter)
    : list_(std::make_shared<CameraList>(mainQueue, notificationCenter)),
      service_(std::make_shared<CaptureService>(mainQueue, list_)) {
  service_->connect();
}

Cameras::Cameras(platform::MainQueue& mainQueue, platform::NSNotificationCenter& notificationCenter,
                 SandboxServices sandbox)
    : list_(std::make_shared<CameraList>(mainQueue, notificationCenter)),
      service_(std::make_shared<CaptureService>(mainQueue, list_)),
      hiddenCameraTitle_(std::move(sandbox.cameraTitle)),
      portalAccess_(std::make_shared<PortalCameraAccess>(
          mainQueue, std::make_shared<CameraPortal>(std::move(sandbox.bus)), service_)) {}

Cameras::~Cameras() {
  service_->shutDown();
}

std::vector<Camera> Cameras::cameras() {
  if (!portalAccess_) return list_->cameras();
  // Without the right there is nothing to wait for: the cameras come later, as news.
  auto cameras = list_->cameras(std::chrono::milliseconds{0});
  if (cameras.empty() && portalAccess_->hidesCamera())
    cameras.push_back({.name = {}, .title = hiddenCameraTitle_(), .modes = {}});
  return cameras;
}

std::vector<std::shared_ptr<platform::AVCaptureDevice>> Cameras::devicesWithMediaType(
    const std::string& mediaType) {
  if (mediaType != platform::AVMediaTypeVideo) return {};
  if (portalAccess_) portalAccess_->ask();
  std::vector<std::shared_ptr<platform::AVCaptureDevice>> devices;
  for (auto& camera : cameras())
    devices.push_back(std::make_shared<CaptureDevice>(std::move(camera)));
  return devices;
}

std::shared_ptr<platform::AVCaptureDevice> Cameras::deviceWithUniqueID(const std::string& uniqueID) {
  for (auto& camera : cameras())
    if (camera.name == uniqueID) return std::make_shared<CaptureDevice>(std::move(camera));
  return nullptr;
}

platform::AVAuthorizationStatus Cameras::authorizationStatusForMediaType(const std::string&) {
  return portalAccess_ ? portalAccess_->status() : access_.status();
}

void Cameras::requestAccessForMediaType(const std::string&, std::function<void(bool granted)> completion) {
  if (portalAccess_) return portalAccess_->request(std::move(completion));
  access_.request(completion);
}

std::shared_ptr<platform::AVCaptureDeviceInput> Cameras::deviceInputWithDevice(
    const std::shared_ptr<platform::AVCaptureDevice>& device, std::optional<platform::NSError>& error) {
  const auto ours = std::dynamic_pointer_cast<CaptureDevice>(device);
  const auto cameras = list_->cameras();
  const bool isPresent = ours && std::any_of(cameras.begin(), cameras.end(),
                                             [&](auto& each) { return each.name == ours->camera().name; });
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
