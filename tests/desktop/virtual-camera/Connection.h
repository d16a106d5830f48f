#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include <pipewire/pipewire.h>

namespace virtual_camera {

/// One connection to a PipeWire daemon: the core, and the serial numbers of the nodes in its registry.
/// Bound to the thread that runs `loop`; callbacks come on it and end with the object.
class Connection {
 public:
  struct Events {
    std::function<void()> lost;  ///< the daemon is gone; the connection may be destroyed later, not within
    std::function<void()> nodesChanged;  ///< a node came or went
    std::function<void(int)>
        synchronized;  ///< the daemon has handled everything sent before `synchronize` gave this
  };

  /// Throws std::runtime_error when no daemon answers.
  Connection(pw_loop* loop, Events events);
  ~Connection();
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  pw_core* core() const { return core_.get(); }

  /// Asks the daemon to answer after everything sent so far; `Events::synchronized` gets the returned number.
  int synchronize();

  /// Sends a node the command that a session manager sends to one that rests.
  void suspendNode(std::uint32_t id);

  /// Tells every program that is linked to the node's output of a failure of its own node there, as session
  /// managers do. `code` is an `errno`.
  void tellConsumers(std::uint32_t node, int code, const char* message);

  /// `object.serial` of the node with this id, when the registry shows it.
  std::optional<std::uint64_t> serial(std::uint32_t id) const;

 private:
  static void onDone(void* data, std::uint32_t id, int sequence) noexcept;
  static void onError(void* data, std::uint32_t id, int sequence, int result, const char* message) noexcept;
  static void onGlobal(void* data, std::uint32_t id, std::uint32_t permissions, const char* type,
                       std::uint32_t version, const spa_dict* properties) noexcept;
  void addNode(std::uint32_t id, const spa_dict& properties);
  void addLink(std::uint32_t id, const spa_dict& properties);
  void tellClient(std::uint32_t client, std::uint32_t node, int code, const char* message);
  static void onGlobalRemove(void* data, std::uint32_t id) noexcept;

  struct ContextDeleter {
    void operator()(pw_context* context) const { pw_context_destroy(context); }
  };
  struct CoreDeleter {
    void operator()(pw_core* core) const { pw_core_disconnect(core); }
  };
  struct RegistryDeleter {
    void operator()(pw_registry* registry) const { pw_proxy_destroy(reinterpret_cast<pw_proxy*>(registry)); }
  };

  Events events_;
  std::unique_ptr<pw_context, ContextDeleter> context_;
  std::unique_ptr<pw_core, CoreDeleter> core_;
  std::unique_ptr<pw_registry, RegistryDeleter> registry_;
  spa_hook coreHook_{};
  spa_hook registryHook_{};
  std::map<std::uint32_t, std::uint64_t> serials_;
  std::map<std::uint32_t, std::uint32_t> clients_;  ///< of nodes
  struct Link {
    std::uint32_t output;
    std::uint32_t input;
  };
  std::map<std::uint32_t, Link> links_;  ///< between nodes
};

}  // namespace virtual_camera
