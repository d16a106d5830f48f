#include "platform/linux/camera/CaptureSession.h"

#include "platform/linux/camera/CapturePhotoOutput.h"

namespace platform_linux {

CaptureSession::CaptureSession(std::shared_ptr<CaptureService> service)
    : flow_(std::make_shared<CaptureFlow>(std::move(service))) {}

CaptureSession::~CaptureSession() {
  flow_->release();
}

void CaptureSession::setSessionPreset(const std::string&) {}

void CaptureSession::addInput(std::shared_ptr<platform::AVCaptureDeviceInput> input) {
  if (const auto ours = std::dynamic_pointer_cast<CaptureDeviceInput>(input))
    flow_->setCamera(ours->camera());
}

void CaptureSession::addOutput(std::shared_ptr<platform::AVCapturePhotoOutput> output) {
  if (const auto ours = std::dynamic_pointer_cast<CapturePhotoOutput>(output)) ours->attach(flow_);
}

}  // namespace platform_linux
