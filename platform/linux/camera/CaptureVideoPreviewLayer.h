#pragma once

#include <memory>

#include "platform/AVFoundation/AVCaptureVideoPreviewLayer.h"
#include "platform/linux/camera/CaptureConnection.h"
#include "platform/linux/camera/CaptureSession.h"
#include "platform/linux/camera/FrameFeed.h"
#include "platform/linux/photo/Layer.h"
#include "platform/linux/photo/LivePicture.h"

namespace platform_linux {

/// The live picture of a session as a layer.
class CaptureVideoPreviewLayer final : public Layer,
                                       public platform::AVCaptureVideoPreviewLayer,
                                       public LivePicture {
 public:
  explicit CaptureVideoPreviewLayer(std::shared_ptr<CaptureSession> session);

  [[nodiscard]] std::shared_ptr<platform::AVCaptureConnection> connection() const override;

  void setFrameListener(std::function<void()> onFrame) override { feed_->setListener(std::move(onFrame)); }
  [[nodiscard]] std::shared_ptr<const picture::Frame> latestFrame() const override { return feed_->latest(); }
  [[nodiscard]] int error() const override { return feed_->error(); }
  [[nodiscard]] bool mirrored() const override { return connection_->isVideoMirrored(); }

 private:
  const std::shared_ptr<CaptureSession> session_;
  const std::shared_ptr<CaptureConnection> connection_ = std::make_shared<CaptureConnection>();
  const std::shared_ptr<FrameFeed> feed_ = std::make_shared<FrameFeed>();
};

}  // namespace platform_linux
