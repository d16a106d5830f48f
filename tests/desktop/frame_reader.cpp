// A small program that uses a camera: it reads frames and says what came, so that tests can tell what a
// camera does.

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <memory>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <sys/mman.h>
#include <utility>
#include <zlib.h>

#include <pipewire/pipewire.h>
#include <spa/buffer/meta.h>
#include <spa/param/video/format-utils.h>

#include "tests/desktop/virtual-camera/CameraSpec.h"
#include "tests/desktop/virtual-camera/FormatPods.h"

// PipeWire's calls are macros that cast their first argument the C way.
#pragma GCC diagnostic ignored "-Wold-style-cast"

namespace {

using namespace virtual_camera;

constexpr int kUsageStatus = 64;  // EX_USAGE of sysexits.h
constexpr int kNoCameraStatus = 2;
constexpr int kUnpluggedStatus = 3;
constexpr int kErrorStatus = 4;
constexpr int kNoMemoryStatus = 5;

constexpr std::uint64_t kNoFrame = 0;  // the camera counts its frames from 1

constexpr const char* kUsage =
    "Usage: frame_reader NAME MODE FRAMES [FOLDER]\n"
    "Reads FRAMES frames from the camera NAME in MODE, as in MJPG:640x480@30, and writes a line for each:\n"
    "  frame SEQUENCE SIZE CRC32 memfd|memptr|dmabuf blocks= offset= stride= [corrupted] [transform=]\n"
    "The bytes go to FOLDER/SEQUENCE. Exit status: 0 all came, 2 no such camera, 3 unplugged, 4 the camera "
    "failed, 5 the buffers have no memory.\n";

struct Deleter {
  void operator()(pw_main_loop* loop) const { pw_main_loop_destroy(loop); }
  void operator()(pw_context* context) const { pw_context_destroy(context); }
  void operator()(pw_core* core) const { pw_core_disconnect(core); }
  void operator()(pw_registry* registry) const { pw_proxy_destroy(reinterpret_cast<pw_proxy*>(registry)); }
  void operator()(pw_stream* stream) const { pw_stream_destroy(stream); }
};
template <typename Thing>
using Owned = std::unique_ptr<Thing, Deleter>;

struct Node {
  std::uint32_t id = 0;
  std::string serial;
};

class FrameReader {
 public:
  FrameReader(std::string camera, Mode mode, std::uint64_t frames, std::string folder);
  ~FrameReader();
  FrameReader(const FrameReader&) = delete;
  FrameReader& operator=(const FrameReader&) = delete;

  /// The program's exit status.
  int run();

 private:
  static void onDone(void* data, std::uint32_t id, int sequence) noexcept;
  static void onCoreError(void* data, std::uint32_t id, int sequence, int result,
                          const char* message) noexcept;
  static void onGlobal(void* data, std::uint32_t id, std::uint32_t permissions, const char* type,
                       std::uint32_t version, const spa_dict* properties) noexcept;
  static void onGlobalRemove(void* data, std::uint32_t id) noexcept;
  static void onState(void* data, pw_stream_state old, pw_stream_state state, const char* error) noexcept;
  static void onParam(void* data, std::uint32_t id, const spa_pod* param) noexcept;
  static void onProcess(void* data) noexcept;

  void openStream();
  void take(const spa_buffer& buffer);
  void finish(int status, std::string_view why);

  std::string camera_;
  Mode mode_;
  std::uint64_t wanted_;
  std::string folder_;
  Owned<pw_main_loop> loop_;
  Owned<pw_context> context_;
  Owned<pw_core> core_;
  Owned<pw_registry> registry_;
  Owned<pw_stream> stream_;
  spa_hook coreHook_{};
  spa_hook registryHook_{};
  spa_hook streamHook_{};
  std::optional<Node> node_;
  std::uint64_t taken_ = 0;
  std::optional<int> status_;
};

FrameReader* self(void* data) {
  return static_cast<FrameReader*>(data);
}

template <typename Thing>
Owned<Thing> require(Thing* thing, const char* what) {
  if (thing == nullptr) throw std::runtime_error(what);
  return Owned<Thing>(thing);
}

constexpr pw_core_events coreEvents(decltype(pw_core_events::done) done,
                                    decltype(pw_core_events::error) error) {
  pw_core_events events{};
  events.version = PW_VERSION_CORE_EVENTS;
  events.done = done;
  events.error = error;
  return events;
}

/// The memory of one block. The stream maps all kinds but DMA-BUF.
class Block {
 public:
  explicit Block(const spa_data& data) : data_(data) {
    if (data.data != nullptr || data.type != SPA_DATA_DmaBuf) return;
    length_ = std::size_t{data.mapoffset} + data.maxsize;
    mapped_ = mmap(nullptr, length_, PROT_READ, MAP_SHARED, static_cast<int>(data.fd), 0);
  }
  ~Block() {
    if (mapped_ != MAP_FAILED) munmap(mapped_, length_);
  }
  Block(const Block&) = delete;
  Block& operator=(const Block&) = delete;

  /// What its chunk says is the frame's.
  std::span<const std::uint8_t> contents() const {
    const auto* first = static_cast<const std::uint8_t*>(data_.data);
    if (mapped_ != MAP_FAILED) first = static_cast<const std::uint8_t*>(mapped_) + data_.mapoffset;
    if (first == nullptr || data_.chunk->offset > data_.maxsize) return {};
    return {first + data_.chunk->offset, std::min(data_.chunk->size, data_.maxsize - data_.chunk->offset)};
  }

 private:
  const spa_data& data_;
  void* mapped_ = MAP_FAILED;
  std::size_t length_ = 0;
};

/// The bytes of all blocks.
Bytes contents(const spa_buffer& buffer) {
  Bytes bytes;
  for (std::uint32_t block = 0; block < buffer.n_datas; ++block) {
    const Block memory(buffer.datas[block]);
    bytes.insert(bytes.end(), memory.contents().begin(), memory.contents().end());
  }
  return bytes;
}

std::string_view typeName(std::uint32_t type) {
  switch (type) {
    case SPA_DATA_MemPtr:
      return "memptr";
    case SPA_DATA_MemFd:
      return "memfd";
    case SPA_DATA_DmaBuf:
      return "dmabuf";
    default:
      return "other";
  }
}

/// What else came with the frame, as words.
std::string remarks(const spa_buffer& buffer) {
  const auto& data = buffer.datas[0];
  std::string words = " " + std::string(typeName(data.type)) + " blocks=" + std::to_string(buffer.n_datas) +
                      " offset=" + std::to_string(data.chunk->offset) +
                      " stride=" + std::to_string(data.chunk->stride);
  if ((data.chunk->flags & SPA_CHUNK_FLAG_CORRUPTED) != 0) words += " corrupted";
  const auto* transform = static_cast<const spa_meta_videotransform*>(
      spa_buffer_find_meta_data(&buffer, SPA_META_VideoTransform, sizeof(spa_meta_videotransform)));
  if (transform != nullptr) words += " transform=" + std::to_string(transform->transform);
  return words;
}

FrameReader::FrameReader(std::string camera, Mode mode, std::uint64_t frames, std::string folder)
    : camera_(std::move(camera)),
      mode_(std::move(mode)),
      wanted_(frames),
      folder_(std::move(folder)),
      loop_(require(pw_main_loop_new(nullptr), "no PipeWire loop")),
      context_(
          require(pw_context_new(pw_main_loop_get_loop(loop_.get()), nullptr, 0), "no PipeWire context")),
      core_(require(pw_context_connect(context_.get(), nullptr, 0), "no PipeWire daemon answers")),
      registry_(
          require(pw_core_get_registry(core_.get(), PW_VERSION_REGISTRY, 0), "PipeWire gives no registry")) {
  static constexpr auto kCoreEvents = coreEvents(&FrameReader::onDone, &FrameReader::onCoreError);
  static constexpr pw_registry_events kRegistryEvents{PW_VERSION_REGISTRY_EVENTS, &FrameReader::onGlobal,
                                                      &FrameReader::onGlobalRemove};
  pw_core_add_listener(core_.get(), &coreHook_, &kCoreEvents, this);
  pw_registry_add_listener(registry_.get(), &registryHook_, &kRegistryEvents, this);
}

FrameReader::~FrameReader() {
  if (stream_) spa_hook_remove(&streamHook_);
  spa_hook_remove(&registryHook_);
  spa_hook_remove(&coreHook_);
}

int FrameReader::run() {
  pw_core_sync(core_.get(), PW_ID_CORE, 0);
  pw_main_loop_run(loop_.get());
  return status_.value_or(kErrorStatus);
}

void FrameReader::finish(int status, std::string_view why) {
  if (status_) return;
  status_ = status;
  std::cout << why << std::endl;
  pw_main_loop_quit(loop_.get());
}

void FrameReader::openStream() {
  auto* properties = pw_properties_new(PW_KEY_MEDIA_TYPE, "Video", PW_KEY_MEDIA_CATEGORY, "Capture",
                                       PW_KEY_MEDIA_ROLE, "Camera", PW_KEY_TARGET_OBJECT,
                                       node_->serial.c_str(), PW_KEY_NODE_DONT_RECONNECT, "true", nullptr);
  stream_ = require(pw_stream_new(core_.get(), "frame_reader", properties), "PipeWire makes no stream");
  static constexpr pw_stream_events kEvents = [] {
    pw_stream_events events{};
    events.version = PW_VERSION_STREAM_EVENTS;
    events.state_changed = &FrameReader::onState;
    events.param_changed = &FrameReader::onParam;
    events.process = &FrameReader::onProcess;
    return events;
  }();
  pw_stream_add_listener(stream_.get(), &streamHook_, &kEvents, this);
  PodList formats;
  formats.addMode(mode_);
  constexpr auto kFlags = static_cast<pw_stream_flags>(
      PW_STREAM_FLAG_AUTOCONNECT | PW_STREAM_FLAG_MAP_BUFFERS | PW_STREAM_FLAG_DONT_RECONNECT);
  pw_stream_connect(stream_.get(), PW_DIRECTION_INPUT, PW_ID_ANY, kFlags, formats.data(), formats.size());
}

void FrameReader::take(const spa_buffer& buffer) {
  const auto* header = static_cast<const spa_meta_header*>(
      spa_buffer_find_meta_data(&buffer, SPA_META_Header, sizeof(spa_meta_header)));
  const auto sequence = header == nullptr ? kNoFrame : header->seq;
  // The graph's first cycle, which is its own, may pass a buffer on that the camera is still about to fill.
  // The camera writes the number last, so it is read first.
  if (sequence == kNoFrame) return;
  if (buffer.datas[0].type == SPA_ID_INVALID) return finish(kNoMemoryStatus, "buffers without memory");
  const auto bytes = contents(buffer);
  if (!folder_.empty()) {
    std::ofstream file(folder_ + "/" + std::to_string(sequence), std::ios::binary);
    file.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  }
  std::printf("frame %" PRIu64 " %zu %08lx%s\n", sequence, bytes.size(),
              crc32(0, bytes.data(), static_cast<uInt>(bytes.size())), remarks(buffer).c_str());
  std::fflush(stdout);
  if (++taken_ == wanted_) finish(EXIT_SUCCESS, "done");
}

void FrameReader::onDone(void* data, std::uint32_t id, int /*sequence*/) noexcept {
  auto* reader = self(data);
  if (id != PW_ID_CORE || reader->stream_) return;
  if (!reader->node_) return reader->finish(kNoCameraStatus, "no such camera");
  try {
    reader->openStream();
  } catch (const std::runtime_error& error) {
    reader->finish(kErrorStatus, error.what());
  }
}

void FrameReader::onCoreError(void* data, std::uint32_t id, int /*sequence*/, int /*result*/,
                              const char* message) noexcept {
  if (id == PW_ID_CORE) self(data)->finish(kErrorStatus, message);
}

void FrameReader::onGlobal(void* data, std::uint32_t id, std::uint32_t /*permissions*/, const char* type,
                           std::uint32_t /*version*/, const spa_dict* properties) noexcept {
  if (std::string_view(type) != PW_TYPE_INTERFACE_Node || properties == nullptr) return;
  const char* name = spa_dict_lookup(properties, PW_KEY_NODE_NAME);
  const char* serial = spa_dict_lookup(properties, PW_KEY_OBJECT_SERIAL);
  if (name != nullptr && serial != nullptr && self(data)->camera_ == name && !self(data)->node_)
    self(data)->node_ = Node{id, serial};
}

void FrameReader::onGlobalRemove(void* data, std::uint32_t id) noexcept {
  if (self(data)->node_ && self(data)->node_->id == id) self(data)->finish(kUnpluggedStatus, "unplugged");
}

void FrameReader::onState(void* data, pw_stream_state /*old*/, pw_stream_state state,
                          const char* error) noexcept {
  if (state == PW_STREAM_STATE_ERROR)
    self(data)->finish(kErrorStatus, std::string("error ") + (error != nullptr ? error : ""));
}

void FrameReader::onParam(void* data, std::uint32_t id, const spa_pod* param) noexcept {
  if (id != SPA_PARAM_Format || param == nullptr) return;
  const auto format = parseFormat(param);
  if (!format) return self(data)->finish(kErrorStatus, "error unknown format");
  PodList answers;
  answers.addBuffers({1U << SPA_DATA_MemFd | 1U << SPA_DATA_MemPtr | 1U << SPA_DATA_DmaBuf});
  answers.addMeta(SPA_META_Header, sizeof(spa_meta_header));
  answers.addMeta(SPA_META_VideoTransform, sizeof(spa_meta_videotransform));
  pw_stream_update_params(self(data)->stream_.get(), answers.data(), answers.size());
}

void FrameReader::onProcess(void* data) noexcept {
  auto* reader = self(data);
  while (auto* buffer = pw_stream_dequeue_buffer(reader->stream_.get())) {
    if (!reader->status_) reader->take(*buffer->buffer);
    pw_stream_queue_buffer(reader->stream_.get(), buffer);
  }
}

}  // namespace

int main(int count, char** words) try {
  if (count < 4 || count > 5) {
    std::cerr << kUsage;
    return kUsageStatus;
  }
  auto mode = parseCameraSpec(std::string("modes=") + words[2]).modes.front();
  pw_init(nullptr, nullptr);
  return FrameReader(words[1], std::move(mode), std::stoull(words[3]), count == 5 ? words[4] : "").run();
} catch (const std::exception& error) {
  std::cerr << "frame_reader: " << error.what() << "\n";
  return EXIT_FAILURE;
}
