#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>

#include "platform/linux/base/FileDescriptor.h"
#include "platform/linux/bus/SessionBus.h"

namespace platform_linux {

/// How long the portal may take to answer a call: desktops start it at the first call, which
/// takes seconds where one of its helpers hangs. The user, who is asked in between, may take any time.
inline constexpr std::chrono::milliseconds kPortalPatience{25000};

/// The desktop's `org.freedesktop.portal.Camera` (flatpak.github.io/xdg-desktop-portal, version 1), through
/// which programs in a sandbox ask for cameras and get them. Main thread only.
class CameraPortal : public std::enable_shared_from_this<CameraPortal> {
 public:
  enum class Answer {
    Granted,
    Refused,  ///< also by a portal that went away or did not answer: whoever cannot be asked says no
    NoPortal  ///< nobody there to ask
  };

  /// `bus` outlives the portal and is there once the first question is put.
  explicit CameraPortal(std::function<const SessionBus&()> bus,
                        std::chrono::milliseconds patience = kPortalPatience)
      : bus_(std::move(bus)), patience_(patience) {}
  CameraPortal(const CameraPortal&) = delete;
  CameraPortal& operator=(const CameraPortal&) = delete;
  /// A question under way is dropped.
  ~CameraPortal();

  /// Has the user asked for permission to use cameras, without waiting; a user who has answered before is not
  /// troubled again. `answered` runs once. Once only.
  void ask(std::function<void(Answer)> answered);

  /// Whether there is a camera, as far as the portal has told; known by the time of the answer, false before.
  [[nodiscard]] bool isCameraPresent() const { return isCameraPresent_; }

  /// Asks for a socket of the PipeWire daemon that shows the cameras, without waiting. `opened` runs once,
  /// with none when that failed.
  void openRemote(std::function<void(FileDescriptor)> opened);

 private:
  void readPresence();
  void onPresenceRead(GVariant* reply, const GError* error);
  void watchPortal();
  void onAppeared(const char* owner);
  void onVanished();
  void followPresence(const char* owner);
  void awaitResponse(const char* owner);
  void callAccessCamera();
  void finish(Answer answer);
  void unsubscribe(guint& subscription);
  const std::function<const SessionBus&()> bus_;
  const std::chrono::milliseconds patience_;
  std::function<void(Answer)> answered_;  // empty once it ran
  bool isCameraPresent_ = false;
  GObjectRef<GDBusConnection> connection_;  // once there is something on it to be undone
  guint watch_ = 0;
  guint changes_ = 0;
  guint responses_ = 0;
};

}  // namespace platform_linux
