#include "platform/linux/camera/Cameras.h"

#include <algorithm>
#include <cerrno>
#include <utility>

#include "platform/linux/camera/CameraList.h"
#include "platform/linux/camera/CaptureService.h"
#include "platform/linux/camera/CaptureSession.h"
#include "platform/linux/camera/PhotoOutput.h"
#include "platform/linux/camera/PreviewLayer.h"

namespace platform_linux {

Cameras::Cameras(platform::MainQueue& mainQueue, platform::NSNotificationCenter& notificationCenter)
    : list_(std::make_shared<CameraList>(mainQueue, notificationCenter)),
      service_(std::make_shared<CaptureService>(mainQueue, list_)) {}

Cameras::~Cameras() {
  service_->shutDown();
}

std::vector<std::shared_ptr<platform::AVCaptureDevice>> Cameras::devicesWithMediaType(
    const std::string& mediaType) {
  if (mediaType != platform::AVMediaTypeVideo) return {};
  std::vector<std::shared_ptr<platform::AVCaptureDevice>> devices;
  for (auto& camera : list_->cameras())
    devices.push_back(std::make_shared<Device>(std::move(camera)));
  return devices;
}

std::shared_ptr<platform::AVCaptureDevice> Cameras::deviceWithUniqueID(const std::string& uniqueID) {
  for (auto& camera : list_->cameras())
    if (camera.name == uniqueID) return std::make_shared<Device>(std::move(camera));
  return nullptr;
}

platform::AVAuthorizationStatus Cameras::authorizationStatusForMediaType(const std::string&) {
  return access_.status();
}

void Cameras::requestAccessForMediaType(const std::string&, std::function<void(bool granted)> completion) {
  access_.request(completion);
}

std::shared_ptr<platform::AVCaptureDeviceInput> Cameras::deviceInputWithDevice(
    const std::shared_ptr<platform::AVCaptureDevice>& device, std::optional<platform::NSError>& error) {
  const auto ours = std::dynamic_pointer_cast<Device>(device);
  const auto cameras = list_->cameras();
  const bool isPresent = ours && std::any_of(cameras.begin(), cameras.end(),
                                             [&](auto& each) { return each.name == ours->camera().name; });
  if (isPresent) return std::make_shared<DeviceInput>(ours->camera());
  error = platform::NSError{ENODEV, "The camera is not there"};
  return nullptr;
}

std::shared_ptr<platform::AVCaptureSession> Cameras::session() {
  return std::make_shared<CaptureSession>(service_);
}

std::shared_ptr<platform::AVCapturePhotoOutput> Cameras::photoOutput() {
  return std::make_shared<PhotoOutput>(service_);
}

std::shared_ptr<platform::AVCaptureVideoPreviewLayer> Cameras::previewLayerWithSession(
    const std::shared_ptr<platform::AVCaptureSession>& session) {
  return std::make_shared<PreviewLayer>(std::static_pointer_cast<CaptureSession>(session));
}

}  // namespace platform_linux
