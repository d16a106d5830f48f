#pragma once

#include <memory>
#include <utility>

#include "platform/AVFoundation/AVCaptureDevice.h"
#include "platform/AVFoundation/AVCaptureSession.h"
#include "platform/linux/camera/CaptureFlow.h"

namespace platform_linux {

/// One camera as it was when it was asked for.
class CaptureDevice final : public platform::AVCaptureDevice {
 public:
  explicit CaptureDevice(Camera camera) : camera_(std::move(camera)) {}

  [[nodiscard]] std::string uniqueID() const override { return camera_.uniqueID; }
  [[nodiscard]] std::string localizedName() const override { return camera_.localizedName; }
  [[nodiscard]] const Camera& camera() const { return camera_; }

 private:
  const Camera camera_;
};

/// A camera bound into a session.
class CaptureDeviceInput final : public platform::AVCaptureDeviceInput {
 public:
  explicit CaptureDeviceInput(Camera camera) : camera_(std::move(camera)) {}

  [[nodiscard]] const Camera& camera() const { return camera_; }

 private:
  const Camera camera_;
};

/// A session on one camera. Released while it runs, it gives its camera back.
class CaptureSession final : public platform::AVCaptureSession {
 public:
  explicit CaptureSession(std::shared_ptr<CaptureService> service);
  CaptureSession(const CaptureSession&) = delete;
  CaptureSession& operator=(const CaptureSession&) = delete;
  ~CaptureSession() override;

  /// `AVCaptureSessionPresetHigh` is the only one there is.
  void setSessionPreset(const std::string& preset) override;
  void addInput(std::shared_ptr<platform::AVCaptureDeviceInput> input) override;
  void addOutput(std::shared_ptr<platform::AVCapturePhotoOutput> output) override;
  void startRunning() override { flow_->start(); }
  void stopRunning() override { flow_->stop(); }

  [[nodiscard]] const std::shared_ptr<CaptureFlow>& flow() const { return flow_; }

 private:
  const std::shared_ptr<CaptureFlow> flow_;
};

}  // namespace platform_linux
