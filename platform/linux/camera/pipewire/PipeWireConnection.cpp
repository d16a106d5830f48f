#include "platform/linux/camera/pipewire/PipeWireConnection.h"

#include <algorithm>
#include <cerrno>
#include <utility>

#include "platform/linux/camera/pipewire/PipeWireCalls.h"

namespace platform_linux {
namespace {

/// While there is no daemon it is looked for again after these times, growing: a restarting one is back
/// within tens of milliseconds, one that was never there must not cost a wake-up worth mentioning.
constexpr std::chrono::milliseconds kFirstRetry{20};
constexpr std::chrono::milliseconds kLastRetry{2000};

}  // namespace

const pw_core_events& PipeWireConnection::events() {
  static const pw_core_events table = [] {
    pw_core_events events{};
    events.version = PW_VERSION_CORE_EVENTS;
    events.done = [](void* self, std::uint32_t id, int sequence) noexcept {
      if (id == PW_ID_CORE) static_cast<PipeWireConnection*>(self)->client_.synced(sequence);
    };
    events.error = [](void* self, std::uint32_t id, int, int result, const char*) noexcept {
      static_cast<PipeWireConnection*>(self)->onError(id, result);
    };
    return events;
  }();
  return table;
}

PipeWireConnection::PipeWireConnection(CameraLoop& loop, Client& client)
    : loop_(loop),
      client_(client),
      retry_(loop.timer([this] { isLost_ ? disconnect() : connect(); })),
      retryDelay_(kFirstRetry) {
  if (!loop_.raw()) return;
  // Real-time scheduling and memory that is never swapped out are for sound: the one costs a conversation
  // with a system service, the other makes all of the camera's buffers resident. The library's own way to the
  // bus would load another ten libraries.
  pw_properties* properties =
      pw_properties_new("module.rt", "false", "mem.allow-mlock", "false", "support.dbus", "false", nullptr);
  context_ = pw_context_new(loop_.raw(), properties, 0);
}

PipeWireConnection::~PipeWireConnection() {
  if (core_) {
    spa_hook_remove(&listener_);
    pw_core_disconnect(core_);
  }
  if (context_) pw_context_destroy(context_);
}

void PipeWireConnection::open() {
  connect();
}

int PipeWireConnection::sync() {
  return core_ ? syncCore(core_) : 0;
}

void PipeWireConnection::openThrough(std::function<void()> askForSocket) {
  askForSocket_ = std::move(askForSocket);
  connect();
}

void PipeWireConnection::connect() {
  if (askForSocket_) return askForSocket_();
  take(context_ ? pw_context_connect(context_, nullptr, 0) : nullptr);
}

void PipeWireConnection::connectTo(FileDescriptor socket) {
  // The library takes over the descriptor, and closes it when it fails.
  take(context_ && socket ? pw_context_connect_fd(context_, socket.release(), nullptr, 0) : nullptr);
}

void PipeWireConnection::take(pw_core* core) {
  core_ = core;
  if (!core_) {
    client_.disconnected();
    retryLater();
    return;
  }
  addCoreListener(core_, listener_, events(), this);
  client_.connected();
}

void PipeWireConnection::disconnect() noexcept {
  client_.disconnected();
  spa_hook_remove(&listener_);
  pw_core_disconnect(core_);
  core_ = nullptr;
  isLost_ = false;
  retryDelay_ = kFirstRetry;
  retryLater();
}

void PipeWireConnection::retryLater() {
  retry_->startOnce(retryDelay_);
  retryDelay_ = std::min(retryDelay_ * 2, kLastRetry);
}

void PipeWireConnection::onError(std::uint32_t id, int result) noexcept {
  // Other errors belong to single objects, which report them themselves.
  if (id != PW_ID_CORE || result != -EPIPE || isLost_) return;
  // Not here, inside the library's own handling of the closed connection: on the next turn.
  isLost_ = true;
  retry_->startOnce(std::chrono::nanoseconds{0});
}

}  // namespace platform_linux
