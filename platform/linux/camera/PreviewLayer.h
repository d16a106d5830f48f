#pragma once

#include <memory>

#include "platform/AVFoundation/AVCaptureVideoPreviewLayer.h"
#include "platform/linux/camera/CaptureSession.h"
#include "platform/linux/camera/Connection.h"
#include "platform/linux/camera/FrameFeed.h"
#include "platform/linux/layers/Layer.h"
#include "platform/linux/layers/LivePicture.h"

namespace platform_linux {

/// The live picture of a session as a layer.
class PreviewLayer final : public Layer, public platform::AVCaptureVideoPreviewLayer, public LivePicture {
 public:
  explicit PreviewLayer(std::shared_ptr<CaptureSession> session);

  std::shared_ptr<platform::AVCaptureConnection> connection() const override;

  void setFrameListener(std::function<void()> onFrame) override { feed_->setListener(std::move(onFrame)); }
  std::shared_ptr<const Frame> latestFrame() const override { return feed_->latest(); }
  bool mirrored() const override { return connection_->isVideoMirrored(); }

 private:
  const std::shared_ptr<CaptureSession> session_;
  const std::shared_ptr<Connection> connection_ = std::make_shared<Connection>();
  const std::shared_ptr<FrameFeed> feed_ = std::make_shared<FrameFeed>();
};

}  // namespace platform_linux
