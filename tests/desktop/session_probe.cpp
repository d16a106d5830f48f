// Asks a PipeWire daemon what the private desktop needs to know: is the session manager at work, which
// cameras are there.

#include <cstdlib>
#include <iostream>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>

#include <pipewire/extensions/metadata.h>
#include <pipewire/pipewire.h>

// PipeWire's calls are macros that cast their first argument the C way.
#pragma GCC diagnostic ignored "-Wold-style-cast"

namespace {

constexpr int kUsageStatus = 64;  // EX_USAGE of sysexits.h

enum class Question { kSessionManager, kCameras };

struct Camera {
  std::string name;
  std::string title;
};

struct Deleter {
  void operator()(pw_main_loop* loop) const { pw_main_loop_destroy(loop); }
  void operator()(pw_context* context) const { pw_context_destroy(context); }
  void operator()(pw_core* core) const { pw_core_disconnect(core); }
  void operator()(pw_registry* registry) const { pw_proxy_destroy(reinterpret_cast<pw_proxy*>(registry)); }
};
template <typename Thing>
using Owned = std::unique_ptr<Thing, Deleter>;

std::string lookUp(const spa_dict* properties, const char* key) {
  const char* value = properties == nullptr ? nullptr : spa_dict_lookup(properties, key);
  return value == nullptr ? "" : value;
}

class Probe {
 public:
  explicit Probe(Question question);
  /// The program's exit status.
  int run();

 private:
  static void onDone(void* data, std::uint32_t id, int sequence) noexcept;
  static void onError(void* data, std::uint32_t id, int sequence, int result, const char* message) noexcept;
  static void onGlobal(void* data, std::uint32_t id, std::uint32_t permissions, const char* type,
                       std::uint32_t version, const spa_dict* properties) noexcept;
  void finish(int status);

  Question question_;
  Owned<pw_main_loop> loop_;
  Owned<pw_context> context_;
  Owned<pw_core> core_;
  Owned<pw_registry> registry_;
  spa_hook coreHook_{};
  spa_hook registryHook_{};
  std::map<std::uint64_t, Camera> cameras_;
  int status_ = EXIT_FAILURE;
};

Probe* self(void* data) {
  return static_cast<Probe*>(data);
}

template <typename Thing>
Owned<Thing> require(Thing* thing, const char* what) {
  if (thing == nullptr) throw std::runtime_error(what);
  return Owned<Thing>(thing);
}

Probe::Probe(Question question)
    : question_(question),
      loop_(require(pw_main_loop_new(nullptr), "no PipeWire loop")),
      context_(
          require(pw_context_new(pw_main_loop_get_loop(loop_.get()), nullptr, 0), "no PipeWire context")),
      core_(require(pw_context_connect(context_.get(), nullptr, 0), "no PipeWire daemon answers")),
      registry_(
          require(pw_core_get_registry(core_.get(), PW_VERSION_REGISTRY, 0), "PipeWire gives no registry")) {}

int Probe::run() {
  pw_core_events coreEvents{};
  coreEvents.version = PW_VERSION_CORE_EVENTS;
  coreEvents.done = &Probe::onDone;
  coreEvents.error = &Probe::onError;
  pw_core_add_listener(core_.get(), &coreHook_, &coreEvents, this);
  pw_registry_events registryEvents{};
  registryEvents.version = PW_VERSION_REGISTRY_EVENTS;
  registryEvents.global = &Probe::onGlobal;
  pw_registry_add_listener(registry_.get(), &registryHook_, &registryEvents, this);
  pw_core_sync(core_.get(), PW_ID_CORE, 0);
  pw_main_loop_run(loop_.get());
  spa_hook_remove(&registryHook_);
  spa_hook_remove(&coreHook_);
  if (question_ == Question::kCameras) {
    for (const auto& [serial, camera] : cameras_)
      std::cout << serial << "\t" << camera.name << "\t" << camera.title << "\n";
  }
  return status_;
}

void Probe::finish(int status) {
  status_ = status;
  pw_main_loop_quit(loop_.get());
}

void Probe::onDone(void* data, std::uint32_t /*id*/, int /*sequence*/) noexcept {
  if (self(data)->question_ == Question::kCameras) self(data)->finish(EXIT_SUCCESS);
}

void Probe::onError(void* data, std::uint32_t id, int /*sequence*/, int /*result*/,
                    const char* message) noexcept {
  if (id != PW_ID_CORE) return;
  std::cerr << "session_probe: " << message << "\n";
  self(data)->finish(EXIT_FAILURE);
}

void Probe::onGlobal(void* data, std::uint32_t /*id*/, std::uint32_t /*permissions*/, const char* type,
                     std::uint32_t /*version*/, const spa_dict* properties) noexcept {
  const std::string_view kind(type);
  // The session manager publishes this object when it has read its configuration.
  if (kind == PW_TYPE_INTERFACE_Metadata && lookUp(properties, PW_KEY_METADATA_NAME) == "default" &&
      self(data)->question_ == Question::kSessionManager)
    self(data)->finish(EXIT_SUCCESS);
  if (kind == PW_TYPE_INTERFACE_Node && lookUp(properties, PW_KEY_MEDIA_CLASS) == "Video/Source") {
    const auto serial = std::strtoull(lookUp(properties, PW_KEY_OBJECT_SERIAL).c_str(), nullptr, 10);
    self(data)->cameras_[serial] = {lookUp(properties, PW_KEY_NODE_NAME),
                                    lookUp(properties, PW_KEY_NODE_DESCRIPTION)};
  }
}

}  // namespace

int main(int count, char** words) try {
  const std::string_view request = count == 2 ? words[1] : "";
  if (request != "session-manager" && request != "cameras") {
    std::cerr << "Usage: session_probe session-manager   waits until the session manager is at work\n"
                 "       session_probe cameras           lists serial, name and title of each camera\n";
    return kUsageStatus;
  }
  pw_init(&count, &words);
  const int status = Probe(request == "cameras" ? Question::kCameras : Question::kSessionManager).run();
  pw_deinit();
  return status;
} catch (const std::exception& error) {
  std::cerr << "session_probe: " << error.what() << "\n";
  return EXIT_FAILURE;
}
