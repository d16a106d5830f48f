#include "tests/desktop/virtual-camera/CameraStream.h"

#include <cerrno>
#include <chrono>
#include <stdexcept>
#include <system_error>
#include <utility>

#include <spa/buffer/meta.h>
#include <spa/param/param.h>
#include <spa/utils/result.h>

namespace virtual_camera {
namespace {

CameraStream* self(void* data) {
  return static_cast<CameraStream*>(data);
}

pw_properties* nodeProperties(const CameraSpec& spec) {
  const spa_dict_item items[] = {
      {PW_KEY_MEDIA_CLASS, "Video/Source"},
      {PW_KEY_MEDIA_ROLE, "Camera"},
      {PW_KEY_NODE_NAME, spec.name.c_str()},
      {PW_KEY_NODE_PAUSE_ON_IDLE, spec.idle == Idle::kPause ? "true" : "false"},
  };
  const spa_dict dictionary{0, std::size(items), items};
  auto* properties = pw_properties_new_dict(&dictionary);
  if (!spec.title.empty()) {
    pw_properties_set(properties, PW_KEY_NODE_DESCRIPTION, spec.title.c_str());
    pw_properties_set(properties, PW_KEY_NODE_NICK, spec.title.c_str());
  }
  return properties;
}

std::int64_t monotonicNanoseconds() {
  using std::chrono::nanoseconds;
  return std::chrono::duration_cast<nanoseconds>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

}  // namespace

CameraStream::CameraStream(pw_core* core, const CameraSpec& spec, Events events)
    : events_(std::move(events)) {
  stream_.reset(pw_stream_new(core, spec.name.c_str(), nodeProperties(spec)));
  if (!stream_) throw std::runtime_error("PipeWire makes no stream");
  static constexpr pw_stream_events kEvents = [] {
    pw_stream_events handlers{};
    handlers.version = PW_VERSION_STREAM_EVENTS;
    handlers.state_changed = &CameraStream::onStateChanged;
    handlers.param_changed = &CameraStream::onParamChanged;
    handlers.process = &CameraStream::onProcess;
    return handlers;
  }();
  pw_stream_add_listener(stream_.get(), &hook_, &kEvents, this);
  PodList modes;
  for (const auto& mode : spec.modes)
    modes.addMode(mode, spec.colorimetry);
  constexpr auto kFlags = static_cast<pw_stream_flags>(PW_STREAM_FLAG_DRIVER | PW_STREAM_FLAG_MAP_BUFFERS);
  const int result =
      pw_stream_connect(stream_.get(), PW_DIRECTION_OUTPUT, PW_ID_ANY, kFlags, modes.data(), modes.size());
  if (result < 0) throw std::runtime_error(std::string("PipeWire refuses the node: ") + spa_strerror(result));
}

CameraStream::~CameraStream() {
  spa_hook_remove(&hook_);
}

void CameraStream::deliver() {
  due_ = true;
  pw_stream_trigger_process(stream_.get());
}

void CameraStream::fail(int code, const char* message) {
  due_ = false;
  pw_stream_set_error(stream_.get(), -code, "%s", message);
}

void CameraStream::onStateChanged(void* data, pw_stream_state /*old*/, pw_stream_state state,
                                  const char* error) noexcept {
  pw_log_info("stream %s %s", pw_stream_state_as_string(state), error != nullptr ? error : "");
  self(data)->due_ = false;
  self(data)->events_.stateChanged(state);
}

void CameraStream::onParamChanged(void* data, std::uint32_t id, const spa_pod* param) noexcept {
  if (id != SPA_PARAM_Format || param == nullptr) return;
  try {
    self(data)->acceptFormat(param);
  } catch (const std::system_error& error) {
    self(data)->fail(error.code().value(), error.what());
  }
}

void CameraStream::acceptFormat(const spa_pod* param) {
  const auto format = parseFormat(param);
  if (!format) throw std::system_error(EINVAL, std::generic_category(), "not a format of this camera");
  layout_ = events_.formatChosen(*format);
  PodList answers;
  answers.addBuffers(layout_);
  answers.addHeader();
  pw_stream_update_params(stream_.get(), answers.data(), answers.size());
}

void CameraStream::onProcess(void* data) noexcept {
  // The graph also runs a cycle of its own when it starts; frames come at their time only.
  if (self(data)->due_) self(data)->fillBuffer();
}

void CameraStream::fillBuffer() {
  auto* buffer = pw_stream_dequeue_buffer(stream_.get());
  if (buffer == nullptr) return;  // the consumer holds all buffers: a camera loses the frame then
  due_ = false;
  auto* memory = buffer->buffer;
  auto& data = memory->datas[0];
  FrameResult frame;
  if (data.data != nullptr) frame = events_.fill({static_cast<std::uint8_t*>(data.data), data.maxsize});
  data.chunk->offset = 0;
  data.chunk->size = static_cast<std::uint32_t>(frame.size);
  data.chunk->stride = static_cast<std::int32_t>(layout_.stride);
  data.chunk->flags = frame.corrupted ? SPA_CHUNK_FLAG_CORRUPTED : 0;
  auto* header = static_cast<spa_meta_header*>(
      spa_buffer_find_meta_data(memory, SPA_META_Header, sizeof(spa_meta_header)));
  if (header != nullptr) {
    header->flags = frame.corrupted ? SPA_META_HEADER_FLAG_CORRUPTED : 0;
    header->pts = monotonicNanoseconds();
    header->seq = frame.sequence;
    header->dts_offset = 0;
  }
  pw_stream_queue_buffer(stream_.get(), buffer);
}

}  // namespace virtual_camera
