#pragma once

#include <chrono>
#include <functional>
#include <memory>

#include <pipewire/pipewire.h>

#include "platform/linux/base/FileDescriptor.h"
#include "platform/linux/camera/CameraLoop.h"
#include "platform/linux/camera/pipewire/PipeWireLoop.h"

namespace platform_linux {

/// The connection to the PipeWire daemon, which may not be there, die and come back. On the loop's thread
/// only.
class PipeWireConnection {
 public:
  class Client {
   public:
    virtual ~Client() = default;
    /// The daemon is there; its core stays valid until `disconnected` returns.
    virtual void connected() = 0;
    /// The daemon cannot be reached, told after each attempt, or has gone. Everything made from its core must
    /// be destroyed before this returns.
    virtual void disconnected() = 0;
    /// The daemon has carried out everything up to `sync` with that number.
    virtual void synced(int sequence) = 0;
  };

  PipeWireConnection(CameraLoop& loop, Client& client);
  PipeWireConnection(const PipeWireConnection&) = delete;
  PipeWireConnection& operator=(const PipeWireConnection&) = delete;
  /// Without `disconnected`: what was made from the core is destroyed before.
  ~PipeWireConnection();

  /// Connects at once where there is a daemon and, from then on, again whenever it is back. The daemon is the
  /// one that libpipewire finds: PIPEWIRE_REMOTE and its like are honoured. Once only, this or the next.
  void open();
  /// The same where somebody else must open the daemon's socket: for each attempt `askForSocket` is called,
  /// and `connectTo` is to follow.
  void openThrough(std::function<void()> askForSocket);
  /// A connected socket of the daemon, or none, which is a failed attempt.
  void connectTo(FileDescriptor socket);

  /// Nothing while there is no daemon.
  [[nodiscard]] pw_core* core() const { return core_; }
  /// Whether the daemon has gone; `disconnected` follows on a later turn.
  [[nodiscard]] bool isLost() const { return isLost_; }
  /// Asks the daemon for a call of `synced` with the number that this answers.
  int sync();

 private:
  [[nodiscard]] static const pw_core_events& events();

  void connect();
  void take(pw_core* core);
  void disconnect() noexcept;
  void retryLater();
  void onError(std::uint32_t id, int result) noexcept;

  PipeWireLoop loop_;
  Client& client_;
  const std::unique_ptr<CameraLoop::Timer> retry_;
  std::function<void()> askForSocket_;  // empty: libpipewire opens the socket
  std::chrono::milliseconds retryDelay_;
  pw_context* context_ = nullptr;  // owned
  pw_core* core_ = nullptr;        // owned
  spa_hook listener_{};
  bool isLost_ = false;
};

}  // namespace platform_linux
