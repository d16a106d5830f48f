#pragma once

#include <cstdint>
#include <optional>

#include <pipewire/pipewire.h>

#include "platform/linux/camera/CameraMode.h"
#include "platform/linux/camera/pipewire/FormatPods.h"
#include "platform/linux/camera/pipewire/FrameBuffer.h"

namespace platform_linux {

/// The frames of one camera in one mode. On the capture loop's thread only.
class FrameStream {
 public:
  /// Told what the stream delivers. The stream must not be destroyed inside these calls.
  class Client {
   public:
    virtual ~Client() = default;

    /// A whole picture has arrived; it stays valid during the call. Empty, corrupted and incomplete pictures
    /// are left out.
    virtual void pictureArrived(const FrameBuffer& picture) = 0;
    /// Nothing comes any more, because of `error`, an `errno`: ENODEV when the camera was unplugged. Once at
    /// most.
    virtual void streamEnded(int error) = 0;
  };

  /// Asks for the frames of the camera with that `object.serial`, in exactly that mode. `client` outlives the
  /// stream.
  FrameStream(pw_core* core, std::uint64_t serial, const CameraMode& mode, Client& client);
  FrameStream(const FrameStream&) = delete;
  FrameStream& operator=(const FrameStream&) = delete;
  /// Gives the camera back. Also after the connection was lost, but before `core` is disconnected.
  ~FrameStream();

 private:
  static const pw_stream_events& events();

  void connect(const CameraMode& mode);
  void onStateChanged(pw_stream_state state, const char* message) noexcept;
  void onFormatAgreed(const spa_pod* format) noexcept;
  void onBuffersReady() noexcept;
  void examine(const spa_buffer& buffer);
  void end(int error);

  Client& client_;
  pw_stream* stream_ = nullptr;  // owned
  spa_hook listener_{};
  std::optional<AgreedFormat> format_;
  bool hasEnded_ = false;
};

}  // namespace platform_linux
