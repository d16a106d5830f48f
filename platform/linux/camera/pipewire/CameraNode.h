#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include <pipewire/pipewire.h>

#include "platform/linux/camera/pipewire/CameraPort.h"
#include "platform/linux/camera/pipewire/NodeProperties.h"
#include "platform/linux/camera/pipewire/StatedFormats.h"

namespace platform_linux {

/// One camera's node at the daemon: asks for what it offers and hears when it fails. A node that states no
/// format of use is asked for those of its ports: some programs and modules state them only there. On the
/// loop's thread only.
class CameraNode {
 public:
  class Client {
   public:
    virtual ~Client() = default;
    /// More has been asked of the daemon: what the node tells is whole after a further `sync`.
    virtual void nodeIsAsking() = 0;
    /// The camera has failed with `error`, an `errno`.
    virtual void nodeFailed(const CameraNode& node, int error) = 0;
  };

  /// `registry` and `client` outlive the node.
  CameraNode(pw_registry* registry, std::uint32_t id, const spa_dict& properties, Client& client);
  CameraNode(const CameraNode&) = delete;
  CameraNode& operator=(const CameraNode&) = delete;
  ~CameraNode();

  /// The port of that id belongs to the node, and pictures come out of it.
  void addPort(std::uint32_t id);
  void removePort(std::uint32_t id) { ports_.erase(id); }

  /// What has been told so far is whole: it becomes visible in `entry`, unless more is asked for now.
  void finish();
  [[nodiscard]] bool isWhole() const { return isWhole_; }
  [[nodiscard]] std::uint64_t serial() const { return serial_; }
  [[nodiscard]] const NodeProperties& properties() const { return properties_; }
  /// False when none of the formats that it states can be decoded, or it states none.
  [[nodiscard]] bool isUsable() const { return !modes().empty(); }
  /// The formats that cannot be decoded, for people; empty while none was stated.
  [[nodiscard]] std::set<std::string> codedFormats() const;
  [[nodiscard]] NodeEntry entry() const { return {properties_, properties_.camera(modes())}; }

 private:
  [[nodiscard]] static const pw_node_events& events();

  void onInfo(const pw_node_info& info);
  void askPorts();
  [[nodiscard]] std::vector<CameraMode> modes() const;

  pw_registry* const registry_;
  Client& client_;
  NodeProperties properties_;
  const std::uint64_t serial_;
  pw_node* node_;  // owned
  spa_hook listener_{};
  StatedFormats formats_;
  std::map<std::uint32_t, std::unique_ptr<CameraPort>> ports_;  // by their ids; none while it is not asked
  bool isWhole_ = false;
};

}  // namespace platform_linux
