#include "tests/desktop/virtual-camera/Connection.h"

#include <cerrno>
#include <cstdlib>
#include <stdexcept>
#include <string_view>
#include <system_error>
#include <utility>

#include <spa/node/command.h>

// PipeWire's calls are macros that cast their first argument the C way.
#pragma GCC diagnostic ignored "-Wold-style-cast"

namespace virtual_camera {
namespace {

Connection* self(void* data) {
  return static_cast<Connection*>(data);
}

}  // namespace

Connection::Connection(pw_loop* loop, Events events) : events_(std::move(events)) {
  context_.reset(pw_context_new(loop, nullptr, 0));
  if (!context_) throw std::runtime_error("no PipeWire context");
  core_.reset(pw_context_connect(context_.get(), nullptr, 0));
  if (!core_)
    throw std::runtime_error("no PipeWire daemon answers: " + std::generic_category().message(errno));
  static constexpr pw_core_events kCoreEvents = [] {
    pw_core_events handlers{};
    handlers.version = PW_VERSION_CORE_EVENTS;
    handlers.done = &Connection::onDone;
    handlers.error = &Connection::onError;
    return handlers;
  }();
  static constexpr pw_registry_events kRegistryEvents = [] {
    pw_registry_events handlers{};
    handlers.version = PW_VERSION_REGISTRY_EVENTS;
    handlers.global = &Connection::onGlobal;
    handlers.global_remove = &Connection::onGlobalRemove;
    return handlers;
  }();
  pw_core_add_listener(core_.get(), &coreHook_, &kCoreEvents, this);
  registry_.reset(pw_core_get_registry(core_.get(), PW_VERSION_REGISTRY, 0));
  if (!registry_) throw std::runtime_error("PipeWire gives no registry");
  pw_registry_add_listener(registry_.get(), &registryHook_, &kRegistryEvents, this);
}

Connection::~Connection() {
  spa_hook_remove(&registryHook_);
  spa_hook_remove(&coreHook_);
}

int Connection::synchronize() {
  return pw_core_sync(core_.get(), PW_ID_CORE, 0);
}

void Connection::suspendNode(std::uint32_t id) {
  void* node = pw_registry_bind(registry_.get(), id, PW_TYPE_INTERFACE_Node, PW_VERSION_NODE, 0);
  if (node == nullptr) return;
  auto command = SPA_NODE_COMMAND_INIT(SPA_NODE_COMMAND_Suspend);
  pw_node_send_command(static_cast<pw_node*>(node), &command);
  pw_proxy_destroy(static_cast<pw_proxy*>(node));
}

std::optional<std::uint64_t> Connection::serial(std::uint32_t id) const {
  const auto found = serials_.find(id);
  if (found == serials_.end()) return std::nullopt;
  return found->second;
}

void Connection::onDone(void* data, std::uint32_t id, int sequence) noexcept {
  if (id == PW_ID_CORE) self(data)->events_.synchronized(sequence);
}

void Connection::onError(void* data, std::uint32_t id, int /*sequence*/, int result,
                         const char* message) noexcept {
  pw_log_warn("error on object %u: %s", id, message);
  if (id == PW_ID_CORE && result == -EPIPE) self(data)->events_.lost();
}

void Connection::onGlobal(void* data, std::uint32_t id, std::uint32_t /*permissions*/, const char* type,
                          std::uint32_t /*version*/, const spa_dict* properties) noexcept {
  if (std::string_view(type) != PW_TYPE_INTERFACE_Node || properties == nullptr) return;
  const char* serial = spa_dict_lookup(properties, PW_KEY_OBJECT_SERIAL);
  if (serial == nullptr) return;
  self(data)->serials_[id] = std::strtoull(serial, nullptr, 10);
  self(data)->events_.nodesChanged();
}

void Connection::onGlobalRemove(void* data, std::uint32_t id) noexcept {
  if (self(data)->serials_.erase(id) > 0) self(data)->events_.nodesChanged();
}

}  // namespace virtual_camera
