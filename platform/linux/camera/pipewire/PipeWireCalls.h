#pragma once

#include <cstdint>
#include <limits>

#include <pipewire/pipewire.h>

namespace platform_linux {

// libpipewire's macros for calls to loops and remote objects, as functions: the macros cast in the way of C
// and use a language extension, neither of which is allowed in our own code.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wold-style-cast"
#pragma GCC diagnostic ignored "-Wpedantic"

/// A descriptor that can be read when the loop has something to do.
inline int loopDescriptor(pw_loop* loop) {
  return pw_loop_get_fd(loop);
}

/// The calling thread is the one that turns the loop, until it leaves it.
inline void enterLoop(pw_loop* loop) {
  pw_loop_enter(loop);
}

inline void leaveLoop(pw_loop* loop) {
  pw_loop_leave(loop);
}

/// Does what there is to do and returns without waiting.
inline void turnLoop(pw_loop* loop) {
  pw_loop_iterate(loop, 0);
}

/// Answers the number with which the daemon reports back.
inline int syncCore(pw_core* core) {
  return pw_core_sync(core, PW_ID_CORE, 0);
}

inline void addCoreListener(pw_core* core, spa_hook& listener, const pw_core_events& events, void* data) {
  pw_core_add_listener(core, &listener, &events, data);
}

inline void addRegistryListener(pw_registry* registry, spa_hook& listener, const pw_registry_events& events,
                                void* data) {
  pw_registry_add_listener(registry, &listener, &events, data);
}

/// The answer is owned by the caller; empty when memory is short.
inline pw_node* bindNode(pw_registry* registry, std::uint32_t id) {
  return static_cast<pw_node*>(pw_registry_bind(registry, id, PW_TYPE_INTERFACE_Node, PW_VERSION_NODE, 0));
}

inline void addNodeListener(pw_node* node, spa_hook& listener, const pw_node_events& events, void* data) {
  pw_node_add_listener(node, &listener, &events, data);
}

/// Asks the node for all values of a parameter.
inline void askForParameter(pw_node* node, std::uint32_t parameter) {
  pw_node_enum_params(node, 0, parameter, 0, std::numeric_limits<std::uint32_t>::max(), nullptr);
}

/// The same for a port.
inline pw_port* bindPort(pw_registry* registry, std::uint32_t id) {
  return static_cast<pw_port*>(pw_registry_bind(registry, id, PW_TYPE_INTERFACE_Port, PW_VERSION_PORT, 0));
}

inline void addPortListener(pw_port* port, spa_hook& listener, const pw_port_events& events, void* data) {
  pw_port_add_listener(port, &listener, &events, data);
}

inline void askForParameter(pw_port* port, std::uint32_t parameter) {
  pw_port_enum_params(port, 0, parameter, 0, std::numeric_limits<std::uint32_t>::max(), nullptr);
}

/// The same for a link.
inline pw_link* bindLink(pw_registry* registry, std::uint32_t id) {
  return static_cast<pw_link*>(pw_registry_bind(registry, id, PW_TYPE_INTERFACE_Link, PW_VERSION_LINK, 0));
}

inline void addLinkListener(pw_link* link, spa_hook& listener, const pw_link_events& events, void* data) {
  pw_link_add_listener(link, &listener, &events, data);
}

#pragma GCC diagnostic pop

}  // namespace platform_linux
