#pragma once

#include <string>

namespace platform {

inline const std::string AVMediaTypeVideo = "vide";

/// Posted on the default notification centre, on the main thread, after the camera list has changed.
inline const std::string AVCaptureDeviceWasConnectedNotification = "AVCaptureDeviceWasConnectedNotification";
inline const std::string AVCaptureDeviceWasDisconnectedNotification =
    "AVCaptureDeviceWasDisconnectedNotification";

/// A camera as it was when it was asked for; it may be gone by now. Immutable; thread-safe.
class AVCaptureDevice {
 public:
  virtual ~AVCaptureDevice() = default;

  /// The camera's identity; the same again after it was unplugged and plugged in.
  [[nodiscard]] virtual std::string uniqueID() const = 0;
  /// The camera's name for people.
  [[nodiscard]] virtual std::string localizedName() const = 0;
};

/// What the user has said to the tool's use of a kind of device.
enum class AVAuthorizationStatus { NotDetermined, Denied, Authorized };

}  // namespace platform
