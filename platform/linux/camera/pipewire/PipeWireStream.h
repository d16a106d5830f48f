#pragma once

#include <cstdint>
#include <memory>
#include <optional>

#include <pipewire/pipewire.h>

#include "platform/linux/camera/FrameSource.h"

namespace platform_linux {

/// The frames of one node. On the loop's thread only.
class PipeWireStream final : public FrameStream {
 public:
  /// What a stream belongs to.
  class Owner {
   public:
    virtual ~Owner() = default;
    [[nodiscard]] virtual bool isDaemonLost() const = 0;
    /// The stream is being destroyed.
    virtual void streamGoes(PipeWireStream& stream) = 0;
  };

  /// Asks for the frames of the camera's node (`object.serial`), in that mode; where other programs use the
  /// camera in another one, in theirs. `loop`, `owner` and `client` outlive the stream; `core` may go before
  /// it, after `giveUp`.
  PipeWireStream(CameraLoop& loop, pw_core* core, const Camera& camera, const CameraMode& mode, Owner& owner,
                 Client& client);
  PipeWireStream(const PipeWireStream&) = delete;
  PipeWireStream& operator=(const PipeWireStream&) = delete;
  ~PipeWireStream() override;

  [[nodiscard]] std::uint64_t serial() const { return serial_; }
  /// Of the node that the stream itself is at the daemon; PW_ID_ANY while it is none.
  [[nodiscard]] std::uint32_t nodeId() const;
  /// Delivers nothing any more and tells the client why, on a later turn.
  void end(int error);
  /// The same for a stream whose daemon has gone: what belongs to its core is given up before this returns.
  void giveUp();

 private:
  [[nodiscard]] static const pw_stream_events& events();

  void connect(const Camera& camera, const CameraMode& mode);
  void onStateChanged(pw_stream_state state, const char* message) noexcept;
  void onFormatAgreed(const spa_pod* format) noexcept;
  void onBuffersReady() noexcept;
  void examine(const spa_buffer& buffer);
  void disconnect();

  const std::uint64_t serial_;
  const bool knowsRangeOfRgb_;
  Owner& owner_;
  Client& client_;
  const std::unique_ptr<CameraLoop::Timer> ending_;  // tells the client
  pw_stream* stream_ = nullptr;                      // owned
  spa_hook listener_{};
  std::optional<FrameFormat> format_;
  std::optional<int> endedBy_;
};

}  // namespace platform_linux
