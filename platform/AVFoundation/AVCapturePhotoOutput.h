#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/AVFoundation/AVCaptureConnection.h"
#include "platform/Foundation/NSData.h"
#include "platform/Foundation/NSError.h"

namespace platform {

inline const std::string AVVideoCodecKey = "AVVideoCodecKey";
inline const std::string AVVideoCodecTypeJPEG = "jpeg";

/// What one still capture asks for; used for one capture only.
struct AVCapturePhotoSettings {
  std::map<std::string, std::string> format;

  [[nodiscard]] static AVCapturePhotoSettings photoSettingsWithFormat(
      std::map<std::string, std::string> photoFormat) {
    return {std::move(photoFormat)};
  }
};

/// One captured still. Thread-safe.
class AVCapturePhoto {
 public:
  virtual ~AVCapturePhoto() = default;

  /// The photo as the camera sent it, with its mirroring and time of capture noted; nothing when it holds no
  /// picture.
  [[nodiscard]] virtual std::shared_ptr<NSData> fileDataRepresentation() const = 0;
};

class AVCapturePhotoOutput;

/// Told the outcome of a capture.
class AVCapturePhotoCaptureDelegate {
 public:
  virtual ~AVCapturePhotoCaptureDelegate() = default;

  /// Called exactly once a capture, on a worker thread of the capture service, never on the main thread; it
  /// may take its time and may wait for the main thread. With an error the photo is empty.
  virtual void captureOutputDidFinishProcessingPhoto(AVCapturePhotoOutput& output,
                                                     std::shared_ptr<AVCapturePhoto> photo,
                                                     const std::optional<NSError>& error) = 0;
};

/// Takes stills from a session. Thread-safe.
class AVCapturePhotoOutput {
 public:
  virtual ~AVCapturePhotoOutput() = default;

  /// The ways from the session's inputs to this output, none before it was added to a session with an input.
  [[nodiscard]] virtual std::vector<std::shared_ptr<AVCaptureConnection>> connections() const = 0;

  /// Requests the next whole picture and returns at once. A picture counts once the camera's exposure has had
  /// one second since the camera's first frame, and two more at most while it still moves. The delegate is
  /// kept alive until it has been told the outcome; a camera that sends nothing usable for five seconds fails
  /// the capture.
  virtual void capturePhotoWithSettings(const AVCapturePhotoSettings& settings,
                                        std::shared_ptr<AVCapturePhotoCaptureDelegate> delegate) = 0;
};

}  // namespace platform
