#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <span>
#include <utility>
#include <vector>

#include <pipewire/pipewire.h>

#include "tests/desktop/virtual-camera/BufferMemory.h"
#include "tests/desktop/virtual-camera/CameraSpec.h"
#include "tests/desktop/virtual-camera/FormatPods.h"
#include "tests/desktop/virtual-camera/FrameStore.h"

namespace virtual_camera {

/// What fills a buffer of the stream.
struct FrameResult {
  std::size_t size = 0;
  std::uint64_t sequence = 0;
  bool corrupted = false;
  bool offsetPastEnd = false;
  bool timeBackwards = false;
  bool noStride = false;
  bool negativeStride = false;
};

/// The camera's node: a PipeWire stream that drives the graph. Its life in the registry is the object's life.
/// Bound to the loop's thread; must not be destroyed from within its callbacks.
class CameraStream {
 public:
  struct Events {
    /// A consumer chose a format: the layout to reserve buffers for. Throw std::system_error to refuse it.
    std::function<FrameLayout(const NegotiatedFormat&)> formatChosen;
    std::function<void(pw_stream_state)> stateChanged;
    /// Writes the frame that is due into the buffer's memory.
    std::function<FrameResult(std::span<std::uint8_t>)> fill;
  };

  /// Enters the node into the registry, as one of that device where there is one; throws std::runtime_error
  /// when PipeWire refuses. `spec` must outlive the stream.
  CameraStream(pw_core* core, const CameraSpec& spec, std::optional<std::uint32_t> device, Events events);
  ~CameraStream();
  CameraStream(const CameraStream&) = delete;
  CameraStream& operator=(const CameraStream&) = delete;

  /// Drives one cycle of the graph, in which `Events::fill` gives the frame.
  void deliver();

  /// From now on the node offers these modes instead.
  void offer(const std::vector<Mode>& modes);

  /// Fails the node as a broken device does. `code` is an errno.
  void fail(int code, const char* message);

  /// Buffers that come from now on have memory. Returns whether they had none.
  bool giveMemory() { return std::exchange(withoutMemory_, false); }

  /// Whether most of the buffers are marked as busy. Without a user, those are marked still that killed ones
  /// had: PipeWire (0.3.65) gives them to nobody until the node is suspended.
  bool lacksBuffers() const;

  /// SPA_ID_INVALID until the registry knows the node.
  std::uint32_t nodeId() const { return pw_stream_get_node_id(stream_.get()); }

 private:
  static void onStateChanged(void* data, pw_stream_state old, pw_stream_state state,
                             const char* error) noexcept;
  static void onParamChanged(void* data, std::uint32_t id, const spa_pod* param) noexcept;
  static void onAddBuffer(void* data, pw_buffer* buffer) noexcept;
  static void onRemoveBuffer(void* data, pw_buffer* buffer) noexcept;
  static void onProcess(void* data) noexcept;

  void acceptFormat(const spa_pod* param);
  void fillBuffer();
  FrameResult fill(spa_buffer& buffer);
  FrameResult fillNothing(spa_data& block);
  void describe(spa_buffer& buffer, const FrameResult& frame) const;

  struct StreamDeleter {
    void operator()(pw_stream* stream) const { pw_stream_destroy(stream); }
  };

  const CameraSpec& spec_;
  Events events_;
  std::map<pw_buffer*, std::unique_ptr<BufferMemory>> memory_;  ///< of buffers that the camera allocates
  std::set<const pw_buffer*> buffers_;
  std::unique_ptr<pw_stream, StreamDeleter> stream_;
  spa_hook hook_{};
  FrameLayout layout_;
  Bytes frame_;         ///< before its planes go to their blocks
  bool withoutMemory_;  ///< the buffers have none
  bool due_ = false;
};

}  // namespace virtual_camera
