#pragma once

#include <memory>
#include <string>
#include <vector>

namespace platform {

/// What flows through a connection.
struct AVCaptureInputPort {
  std::string mediaType;

  bool operator==(const AVCaptureInputPort&) const = default;
};

/// One input's way to one output. Thread-safe: read on the capture service's thread while the main thread
/// sets it.
class AVCaptureConnection {
 public:
  virtual ~AVCaptureConnection() = default;

  [[nodiscard]] virtual std::vector<AVCaptureInputPort> inputPorts() const = 0;
  [[nodiscard]] virtual bool isVideoMirroringSupported() const = 0;
  /// Whether the platform decides about mirroring by itself; to be switched off before `setVideoMirrored`.
  virtual void setAutomaticallyAdjustsVideoMirroring(bool automatic) = 0;
  [[nodiscard]] virtual bool isVideoMirrored() const = 0;
  /// Whether pictures from now on come left-right mirrored.
  virtual void setVideoMirrored(bool mirrored) = 0;
};

}  // namespace platform
