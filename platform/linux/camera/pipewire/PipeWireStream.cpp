#include "platform/linux/camera/pipewire/PipeWireStream.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <string>
#include <utility>
#include <vector>

#include <spa/buffer/meta.h>
#include <spa/param/buffers.h>
#include <spa/pod/builder.h>

#include "picture/PixelLayout.h"
#include "platform/linux/camera/pipewire/ErrorMessage.h"
#include "platform/linux/camera/pipewire/FormatPods.h"
#include "platform/linux/camera/pipewire/SpaBlocks.h"

namespace platform_linux {
namespace {

/// Room for the few small parameters that a stream states, and for those of all formats.
constexpr std::size_t kParameterBytes = 1024;
constexpr std::size_t kFormatsBytes = 8192;

/// How many buffers are asked for: enough that a late turn of the loop costs no frame, few enough that a 4K
/// camera need not lay out tens of megabytes. A camera may insist on any other number: decoders have been
/// seen that need more than eight.
constexpr int kBuffers = 4;
constexpr int kFewestBuffers = 1;
constexpr int kMostBuffers = 64;

/// What keeps session managers from giving the stream another camera than the chosen one: when it cannot be
/// linked, and when somebody changes the default. (WirePlumber's manual, "Linking Policy"; libpipewire has no
/// names for these two.)
constexpr const char* kDontFallback = "node.dont-fallback";
constexpr const char* kDontMove = "node.dont-move";

pw_properties* streamProperties(std::uint64_t serial) {
  // Handed over to the stream.
  return pw_properties_new(PW_KEY_MEDIA_TYPE, "Video", PW_KEY_MEDIA_CATEGORY, "Capture", PW_KEY_MEDIA_ROLE,
                           "Camera", PW_KEY_TARGET_OBJECT, std::to_string(serial).c_str(),
                           PW_KEY_NODE_DONT_RECONNECT, "true", kDontFallback, "true", kDontMove, "true",
                           nullptr);
}

// Memory that the processor reads fast is asked for first, a device's own only where there is no other.
constexpr int kPlainMemory = (1 << SPA_DATA_MemFd) | (1 << SPA_DATA_MemPtr);
constexpr int kDeviceMemory = 1 << SPA_DATA_DmaBuf;

const spa_pod* buffersParameter(spa_pod_builder& builder, int memory) {
  spa_pod_frame object{};
  spa_pod_builder_push_object(&builder, &object, SPA_TYPE_OBJECT_ParamBuffers, SPA_PARAM_Buffers);
  spa_pod_builder_add(&builder, SPA_PARAM_BUFFERS_buffers,
                      SPA_POD_CHOICE_RANGE_Int(kBuffers, kFewestBuffers, kMostBuffers),
                      SPA_PARAM_BUFFERS_dataType, SPA_POD_CHOICE_FLAGS_Int(memory), 0);
  return static_cast<const spa_pod*>(spa_pod_builder_pop(&builder, &object));
}

const spa_pod* metaParameter(spa_pod_builder& builder, std::uint32_t type, std::size_t size) {
  spa_pod_frame object{};
  spa_pod_builder_push_object(&builder, &object, SPA_TYPE_OBJECT_ParamMeta, SPA_PARAM_Meta);
  spa_pod_builder_add(&builder, SPA_PARAM_META_type, SPA_POD_Id(type), SPA_PARAM_META_size,
                      SPA_POD_Int(static_cast<int>(size)), 0);
  return static_cast<const spa_pod*>(spa_pod_builder_pop(&builder, &object));
}

// How the picture lies in the buffer, which cameras on turned mounts state with each frame.
picture::Transform transformOf(const spa_buffer& buffer) {
  const auto* meta = static_cast<const spa_meta_videotransform*>(
      spa_buffer_find_meta_data(&buffer, SPA_META_VideoTransform, sizeof(spa_meta_videotransform)));
  if (!meta || meta->transform > SPA_META_TRANSFORMATION_Flipped270) return picture::Transform::None;
  return static_cast<picture::Transform>(meta->transform);
}

// In the order of the camera's modes, each once.
std::vector<picture::PixelFormat> formatsOf(const Camera& camera) {
  std::vector<picture::PixelFormat> formats;
  for (const auto& mode : camera.modes)
    if (std::find(formats.begin(), formats.end(), mode.format) == formats.end())
      formats.push_back(mode.format);
  return formats;
}

// Grey and RGB have all levels, whatever is stated of a camera's other formats.
picture::ColorRange trueRange(const FrameFormat& format, bool knowsRangeOfRgb) {
  const auto model = picture::PixelLayout::of(format.format).model;
  const bool isStatedOfOthers =
      model == picture::ColorModel::Grey || (model == picture::ColorModel::Rgb && !knowsRangeOfRgb);
  return isStatedOfOthers ? picture::ColorRange::Unstated : format.range;
}

// PipeWire 0.3 now and then hands a camera's buffers on before the camera has given them memory ("invalid
// memory type" in the daemon's log). This stream's stay so; another one's have it.
bool lacksMemory(const spa_buffer& buffer) {
  return buffer.n_datas > 0 && buffer.datas[0].type == SPA_ID_INVALID;
}

}  // namespace

const pw_stream_events& PipeWireStream::events() {
  static const pw_stream_events table = [] {
    pw_stream_events events{};
    events.version = PW_VERSION_STREAM_EVENTS;
    events.state_changed = [](void* self, pw_stream_state, pw_stream_state state,
                              const char* message) noexcept {
      static_cast<PipeWireStream*>(self)->onStateChanged(state, message);
    };
    events.param_changed = [](void* self, std::uint32_t id, const spa_pod* parameter) noexcept {
      if (id == SPA_PARAM_Format) static_cast<PipeWireStream*>(self)->onFormatAgreed(parameter);
    };
    events.process = [](void* self) noexcept { static_cast<PipeWireStream*>(self)->onBuffersReady(); };
    return events;
  }();
  return table;
}

PipeWireStream::PipeWireStream(CameraLoop& loop, pw_core* core, const Camera& camera, const CameraMode& mode,
                               Owner& owner, Client& client)
    : serial_(camera.serial),
      knowsRangeOfRgb_(camera.knowsRangeOfRgb),
      owner_(owner),
      client_(client),
      ending_(loop.timer([this] {
        // A stream says that its camera has left, too, when it was the daemon that did.
        client_.streamEnded(owner_.isDaemonLost() ? EPIPE : *endedBy_);
      })) {
  stream_ = core ? pw_stream_new(core, "Camera picture", streamProperties(serial_)) : nullptr;
  if (!stream_) {
    end(core ? errno : EPIPE);
    return;
  }
  pw_stream_add_listener(stream_, &listener_, &events(), this);
  connect(camera, mode);
}

PipeWireStream::~PipeWireStream() {
  disconnect();
  owner_.streamGoes(*this);
}

std::uint32_t PipeWireStream::nodeId() const {
  return stream_ ? pw_stream_get_node_id(stream_) : PW_ID_ANY;
}

void PipeWireStream::disconnect() {
  if (!stream_) return;
  spa_hook_remove(&listener_);
  pw_stream_destroy(std::exchange(stream_, nullptr));
}

void PipeWireStream::connect(const Camera& camera, const CameraMode& mode) {
  std::array<std::uint8_t, kFormatsBytes> memory{};
  spa_pod_builder builder{};
  spa_pod_builder_init(&builder, memory.data(), memory.size());
  std::vector<const spa_pod*> formats{formatPodOfMode(mode, builder)};
  for (const auto format : formatsOf(camera))
    formats.push_back(formatPodOfMode({format, 0, 0, {}}, builder));
  // Without a flag for real-time processing the buffers come on the loop's own thread.
  const auto flags = static_cast<pw_stream_flags>(PW_STREAM_FLAG_AUTOCONNECT | PW_STREAM_FLAG_MAP_BUFFERS |
                                                  PW_STREAM_FLAG_DONT_RECONNECT);
  const int result = pw_stream_connect(stream_, PW_DIRECTION_INPUT, PW_ID_ANY, flags, formats.data(),
                                       static_cast<std::uint32_t>(formats.size()));
  if (result < 0) end(-result);
}

void PipeWireStream::onStateChanged(pw_stream_state state, const char* message) noexcept {
  if (state == PW_STREAM_STATE_ERROR) end(errorNumberOfMessage(message ? message : ""));
  // The stream leaves the camera by itself only when the camera leaves.
  if (state == PW_STREAM_STATE_UNCONNECTED) end(ENODEV);
}

void PipeWireStream::onFormatAgreed(const spa_pod* format) noexcept {
  format_ = format ? agreedFormatOfPod(format) : std::nullopt;
  if (!format_) return;
  format_->range = trueRange(*format_, knowsRangeOfRgb_);
  std::array<std::uint8_t, kParameterBytes> memory{};
  spa_pod_builder builder{};
  spa_pod_builder_init(&builder, memory.data(), memory.size());
  std::array parameters{buffersParameter(builder, kPlainMemory), buffersParameter(builder, kDeviceMemory),
                        metaParameter(builder, SPA_META_Header, sizeof(spa_meta_header)),
                        metaParameter(builder, SPA_META_VideoTransform, sizeof(spa_meta_videotransform))};
  pw_stream_update_params(stream_, parameters.data(), static_cast<std::uint32_t>(parameters.size()));
}

void PipeWireStream::onBuffersReady() noexcept {
  // The buffer goes back at once: a camera whose buffers are held starves.
  while (pw_buffer* buffer = pw_stream_dequeue_buffer(stream_)) {
    examine(*buffer->buffer);
    pw_stream_queue_buffer(stream_, buffer);
  }
}

void PipeWireStream::examine(const spa_buffer& buffer) {
  if (!format_ || endedBy_) return;
  if (lacksMemory(buffer)) return end(EAGAIN);
  const SpaBlocks blocks(buffer);
  FrameFormat format = *format_;
  format.transform = transformOf(buffer);
  if (const auto picture = FrameBuffer::pictureIn(blocks.blocks(), format))
    client_.frameArrived(*picture);
  else
    client_.frameUnusable();
}

void PipeWireStream::end(int error) {
  if (endedBy_) return;
  endedBy_ = error;
  ending_->startOnce(std::chrono::nanoseconds{0});
}

void PipeWireStream::giveUp() {
  disconnect();
  end(EPIPE);
  endedBy_ = EPIPE;
}

}  // namespace platform_linux
