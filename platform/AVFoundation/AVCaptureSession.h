#pragma once

#include <memory>
#include <string>

namespace platform {

/// The device's best picture at a frame rate that suits a live preview.
inline const std::string AVCaptureSessionPresetHigh = "AVCaptureSessionPresetHigh";

/// A camera bound into a session. Made even for a camera that is gone or busy: the session then delivers
/// nothing.
class AVCaptureDeviceInput {
 public:
  virtual ~AVCaptureDeviceInput() = default;
};

class AVCapturePhotoOutput;

/// The flow of frames from one camera to its outputs. Main thread only.
class AVCaptureSession {
 public:
  virtual ~AVCaptureSession() = default;

  virtual void setSessionPreset(const std::string& preset) = 0;
  /// An empty input is accepted and delivers nothing.
  virtual void addInput(std::shared_ptr<AVCaptureDeviceInput> input) = 0;
  virtual void addOutput(std::shared_ptr<AVCapturePhotoOutput> output) = 0;

  /// Asks the camera for frames and returns at once; repeated calls change nothing. From then on the session
  /// looks after itself: when its camera is busy, fails or leaves, it goes on as soon as the camera can be
  /// used again.
  virtual void startRunning() = 0;
  /// Gives the camera back; never waits for it. A capture still pending fails. Repeated calls change nothing.
  virtual void stopRunning() = 0;
};

}  // namespace platform
