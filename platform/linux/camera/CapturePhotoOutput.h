#pragma once

#include <memory>
#include <mutex>
#include <vector>

#include "platform/AVFoundation/AVCapturePhotoOutput.h"
#include "platform/linux/camera/CaptureConnection.h"
#include "platform/linux/camera/CaptureFlow.h"

namespace platform_linux {

/// Stills of a session. Held by requests until their delegate has been told the outcome.
class CapturePhotoOutput final : public platform::AVCapturePhotoOutput,
                                 public std::enable_shared_from_this<CapturePhotoOutput> {
 public:
  explicit CapturePhotoOutput(std::shared_ptr<CaptureService> service) : service_(std::move(service)) {}

  /// From now on stills come from that session.
  void attach(std::shared_ptr<CaptureFlow> flow);

  [[nodiscard]] std::vector<std::shared_ptr<platform::AVCaptureConnection>> connections() const override;
  /// The settings do not matter: a photo keeps the camera's own picture, its file form is chosen later. Fails
  /// with the codes of `CaptureFlow::requestStill`, and with ENOTCONN when the output is in no session.
  void capturePhotoWithSettings(const platform::AVCapturePhotoSettings& settings,
                                std::shared_ptr<platform::AVCapturePhotoCaptureDelegate> delegate) override;

 private:
  [[nodiscard]] std::shared_ptr<CaptureFlow> flow() const;
  void deliver(std::shared_ptr<platform::AVCapturePhotoCaptureDelegate> delegate, const StillPicture& picture,
               int error);

  const std::shared_ptr<CaptureService> service_;
  const std::shared_ptr<CaptureConnection> connection_ = std::make_shared<CaptureConnection>();
  mutable std::mutex mutex_;  // guards what follows
  std::shared_ptr<CaptureFlow> flow_;
};

}  // namespace platform_linux
