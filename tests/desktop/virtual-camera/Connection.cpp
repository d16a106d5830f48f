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

std::optional<std::uint64_t> number(const spa_dict& properties, const char* key) {
  const char* value = spa_dict_lookup(&properties, key);
  if (value == nullptr) return std::nullopt;
  return std::strtoull(value, nullptr, 10);
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

void Connection::tellConsumers(std::uint32_t node, int code, const char* message) {
  for (const auto& [id, link] : links_)
    if (const auto client = clients_.find(link.input); link.output == node && client != clients_.end())
      tellClient(client->second, link.input, code, message);
}

void Connection::tellClient(std::uint32_t client, std::uint32_t node, int code, const char* message) {
  void* bound = pw_registry_bind(registry_.get(), client, PW_TYPE_INTERFACE_Client, PW_VERSION_CLIENT, 0);
  if (bound == nullptr) return;
  pw_client_error(static_cast<pw_client*>(bound), node, -code, message);
  pw_proxy_destroy(static_cast<pw_proxy*>(bound));
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
  if (properties == nullptr) return;
  if (std::string_view(type) == PW_TYPE_INTERFACE_Node) self(data)->addNode(id, *properties);
  if (std::string_view(type) == PW_TYPE_INTERFACE_Link) self(data)->addLink(id, *properties);
}

void Connection::addNode(std::uint32_t id, const spa_dict& properties) {
  if (const auto client = number(properties, PW_KEY_CLIENT_ID))
    clients_[id] = static_cast<std::uint32_t>(*client);
  const auto serial = number(properties, PW_KEY_OBJECT_SERIAL);
  if (!serial) return;
  serials_[id] = *serial;
  events_.nodesChanged();
}

void Connection::addLink(std::uint32_t id, const spa_dict& properties) {
  const auto output = number(properties, PW_KEY_LINK_OUTPUT_NODE);
  const auto input = number(properties, PW_KEY_LINK_INPUT_NODE);
  if (output && input) links_[id] = {static_cast<std::uint32_t>(*output), static_cast<std::uint32_t>(*input)};
}

void Connection::onGlobalRemove(void* data, std::uint32_t id) noexcept {
  self(data)->links_.erase(id);
  self(data)->clients_.erase(id);
  if (self(data)->serials_.erase(id) > 0) self(data)->events_.nodesChanged();
}

}  // namespace virtual_camera
