#include "platform/linux/camera/CaptureVideoPreviewLayer.h"

#include <utility>

namespace platform_linux {

CaptureVideoPreviewLayer::CaptureVideoPreviewLayer(std::shared_ptr<CaptureSession> session)
    : session_(std::move(session)) {
  session_->flow()->addFeed(feed_);
}

std::shared_ptr<platform::AVCaptureConnection> CaptureVideoPreviewLayer::connection() const {
  if (!session_->flow()->hasCamera()) return nullptr;
  return connection_;
}

}  // namespace platform_linux
