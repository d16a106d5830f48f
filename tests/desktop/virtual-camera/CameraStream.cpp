#include "tests/desktop/virtual-camera/CameraStream.h"

#include <algorithm>
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

pw_properties* nodeProperties(const CameraSpec& spec, std::optional<std::uint32_t> device) {
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
  if (device) pw_properties_setf(properties, PW_KEY_DEVICE_ID, "%u", *device);
  for (const auto& [name, value] : spec.properties)
    pw_properties_set(properties, name.c_str(), value.empty() ? nullptr : value.c_str());
  return properties;
}

/// Whether the camera allocates the buffers itself: those of PipeWire come as pointers, in blocks of one
/// size.
bool allocates(const CameraSpec& spec) {
  return spec.memory == Memory::kMemFd || spec.memory == Memory::kDmaBuf || spec.blocks != Blocks::kOne;
}

std::uint32_t dataTypes(Memory memory) {
  switch (memory) {
    case Memory::kAny:
      break;
    case Memory::kMemFd:
      return 1U << SPA_DATA_MemFd;
    case Memory::kMemPtr:
      return 1U << SPA_DATA_MemPtr;
    case Memory::kDmaBuf:
      return 1U << SPA_DATA_DmaBuf;
  }
  return 1U << SPA_DATA_MemFd | 1U << SPA_DATA_MemPtr;
}

PodList podsOf(const std::vector<Mode>& modes, const Colorimetry& colorimetry) {
  PodList pods;
  for (const auto& mode : modes)
    pods.addMode(mode, colorimetry);
  return pods;
}

/// A kind of memory in which no program takes its pictures.
constexpr std::uint32_t kNobodysMemory = 1U << SPA_DATA_MemId;

std::int64_t monotonicNanoseconds() {
  using std::chrono::nanoseconds;
  return std::chrono::duration_cast<nanoseconds>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

bool isBusy(const pw_buffer* buffer) {
  const auto* busy = static_cast<const spa_meta_busy*>(
      spa_buffer_find_meta_data(buffer->buffer, SPA_META_Busy, sizeof(spa_meta_busy)));
  return busy != nullptr && busy->count > 0;
}

}  // namespace

CameraStream::CameraStream(pw_core* core, const CameraSpec& spec, std::optional<std::uint32_t> device,
                           Events events)
    : spec_(spec), events_(std::move(events)), withoutMemory_(spec.faults.withoutMemory) {
  stream_.reset(pw_stream_new(core, spec.name.c_str(), nodeProperties(spec, device)));
  if (!stream_) throw std::runtime_error("PipeWire makes no stream");
  static constexpr pw_stream_events kEvents = [] {
    pw_stream_events handlers{};
    handlers.version = PW_VERSION_STREAM_EVENTS;
    handlers.state_changed = &CameraStream::onStateChanged;
    handlers.param_changed = &CameraStream::onParamChanged;
    handlers.add_buffer = &CameraStream::onAddBuffer;
    handlers.remove_buffer = &CameraStream::onRemoveBuffer;
    handlers.process = &CameraStream::onProcess;
    return handlers;
  }();
  pw_stream_add_listener(stream_.get(), &hook_, &kEvents, this);
  PodList modes = podsOf(spec.modes, spec.colorimetry);
  const auto flags = static_cast<pw_stream_flags>(
      PW_STREAM_FLAG_DRIVER | (allocates(spec) ? PW_STREAM_FLAG_ALLOC_BUFFERS : PW_STREAM_FLAG_MAP_BUFFERS));
  const int result =
      pw_stream_connect(stream_.get(), PW_DIRECTION_OUTPUT, PW_ID_ANY, flags, modes.data(), modes.size());
  if (result < 0) throw std::runtime_error(std::string("PipeWire refuses the node: ") + spa_strerror(result));
}

CameraStream::~CameraStream() {
  spa_hook_remove(&hook_);
}

void CameraStream::deliver() {
  due_ = true;
  pw_stream_trigger_process(stream_.get());
}

void CameraStream::offer(const std::vector<Mode>& modes) {
  PodList pods = podsOf(modes, spec_.colorimetry);
  pw_stream_update_params(stream_.get(), pods.data(), pods.size());
}

bool CameraStream::lacksBuffers() const {
  const auto busy = std::count_if(buffers_.begin(), buffers_.end(), isBusy);
  return 2 * static_cast<std::size_t>(busy) > buffers_.size();
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
  const bool inBlocks = spec_.blocks != Blocks::kOne;
  PodList answers;
  answers.addBuffers({spec_.faults.noBuffers ? kNobodysMemory : dataTypes(spec_.memory),
                      inBlocks ? layout_.planes.size() : 1,
                      spec_.lead + (inBlocks ? layout_.planes.front().size : layout_.size), layout_.stride(),
                      spec_.buffers});
  answers.addMeta(SPA_META_Header, sizeof(spa_meta_header));
  if (spec_.transformStated) answers.addMeta(SPA_META_VideoTransform, sizeof(spa_meta_videotransform));
  pw_stream_update_params(stream_.get(), answers.data(), answers.size());
}

void CameraStream::onAddBuffer(void* data, pw_buffer* buffer) noexcept {
  auto* stream = self(data);
  stream->buffers_.insert(buffer);
  if (!allocates(stream->spec_) || stream->withoutMemory_) return;
  try {
    stream->memory_[buffer] = std::make_unique<BufferMemory>(*buffer->buffer, stream->layout_, stream->spec_);
  } catch (const std::system_error& error) {
    stream->fail(error.code().value(), error.what());
  }
}

void CameraStream::onRemoveBuffer(void* data, pw_buffer* buffer) noexcept {
  self(data)->buffers_.erase(buffer);
  self(data)->memory_.erase(buffer);
}

void CameraStream::onProcess(void* data) noexcept {
  // The graph also runs a cycle of its own when it starts; frames come at their time only.
  if (self(data)->due_) self(data)->fillBuffer();
}

void CameraStream::fillBuffer() {
  auto* buffer = pw_stream_dequeue_buffer(stream_.get());
  if (buffer == nullptr) return;  // the consumer holds all buffers: a camera loses the frame then
  due_ = false;
  describe(*buffer->buffer, fill(*buffer->buffer));
  pw_stream_queue_buffer(stream_.get(), buffer);
}

FrameResult CameraStream::fill(spa_buffer& buffer) {
  auto& first = buffer.datas[0];
  if (withoutMemory_) return fillNothing(first);
  if (first.data == nullptr) return {};
  if (buffer.n_datas == 1) {
    const auto frame =
        events_.fill({static_cast<std::uint8_t*>(first.data) + spec_.lead, first.maxsize - spec_.lead});
    first.chunk->size = static_cast<std::uint32_t>(frame.size);
    return frame;
  }
  frame_.resize(layout_.size);
  const auto frame = events_.fill(frame_);
  for (std::uint32_t block = 0; block < buffer.n_datas; ++block) {
    const auto& plane = layout_.planes[block];
    const auto size = frame.size < plane.offset ? 0 : std::min(plane.size, frame.size - plane.offset);
    std::copy_n(frame_.data() + plane.offset, size,
                static_cast<std::uint8_t*>(buffer.datas[block].data) + spec_.lead);
    buffer.datas[block].chunk->size = static_cast<std::uint32_t>(size);
  }
  return frame;
}

FrameResult CameraStream::fillNothing(spa_data& block) {
  frame_.resize(layout_.size);
  const auto frame = events_.fill(frame_);
  block.chunk->size = static_cast<std::uint32_t>(frame.size);
  return frame;
}

void CameraStream::describe(spa_buffer& buffer, const FrameResult& frame) const {
  for (std::uint32_t block = 0; block < buffer.n_datas; ++block) {
    const auto& data = buffer.datas[block];
    const auto stride = static_cast<std::int32_t>(frame.noStride ? 0 : layout_.planes[block].stride);
    data.chunk->offset = static_cast<std::uint32_t>(frame.offsetPastEnd ? data.maxsize + 4096U : spec_.lead);
    data.chunk->stride = frame.negativeStride ? -stride : stride;
    data.chunk->flags = frame.corrupted ? SPA_CHUNK_FLAG_CORRUPTED : 0;
  }
  auto* header = static_cast<spa_meta_header*>(
      spa_buffer_find_meta_data(&buffer, SPA_META_Header, sizeof(spa_meta_header)));
  if (header != nullptr) {
    header->flags = frame.corrupted ? SPA_META_HEADER_FLAG_CORRUPTED : 0;
    header->pts = frame.timeBackwards ? -monotonicNanoseconds() : monotonicNanoseconds();
    header->seq = frame.sequence;
    header->dts_offset = 0;
  }
  auto* transform = static_cast<spa_meta_videotransform*>(
      spa_buffer_find_meta_data(&buffer, SPA_META_VideoTransform, sizeof(spa_meta_videotransform)));
  if (transform != nullptr) transform->transform = static_cast<std::uint32_t>(spec_.transform);
}

}  // namespace virtual_camera
