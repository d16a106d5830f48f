#pragma once

#include <atomic>
#include <vector>

#include "platform/AVFoundation/AVCaptureConnection.h"
#include "platform/AVFoundation/AVCaptureDevice.h"

namespace platform_linux {

/// The way of a camera's pictures to one output. Pictures travel as the camera made them; whether they are to
/// be mirrored travels with them.
class CaptureConnection final : public platform::AVCaptureConnection {
 public:
  [[nodiscard]] std::vector<platform::AVCaptureInputPort> inputPorts() const override {
    return {{platform::AVMediaTypeVideo}};
  }
  [[nodiscard]] bool isVideoMirroringSupported() const override { return true; }
  void setAutomaticallyAdjustsVideoMirroring(bool) override {
    // Nothing is ever adjusted here: pictures are mirrored when somebody says so.
  }
  [[nodiscard]] bool isVideoMirrored() const override { return isMirrored_; }
  void setVideoMirrored(bool mirrored) override { isMirrored_ = mirrored; }

 private:
  std::atomic<bool> isMirrored_ = false;
};

}  // namespace platform_linux
