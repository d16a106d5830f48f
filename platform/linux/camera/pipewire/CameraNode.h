#pragma once

#include <cstdint>
#include <set>
#include <string>
#include <vector>

#include <pipewire/pipewire.h>

#include "platform/linux/camera/pipewire/NodeProperties.h"

namespace platform_linux {

/// One camera's node at the daemon: asks for what it offers and hears when it fails. On the loop's thread
/// only.
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

  CameraNode(pw_registry* registry, std::uint32_t id, const spa_dict& properties, Client& client);
  CameraNode(const CameraNode&) = delete;
  CameraNode& operator=(const CameraNode&) = delete;
  ~CameraNode();

  /// What has been told so far is whole: it becomes visible in `entry`.
  void finish();
  [[nodiscard]] bool isWhole() const { return isWhole_; }
  [[nodiscard]] std::uint64_t serial() const { return serial_; }
  [[nodiscard]] const NodeProperties& properties() const { return properties_; }
  /// False when none of the formats that it states can be decoded, or it states none.
  [[nodiscard]] bool isUsable() const { return !modes_.empty(); }
  /// The formats that cannot be decoded, for people; empty while none was stated.
  [[nodiscard]] const std::set<std::string>& codedFormats() const { return codedFormats_; }
  [[nodiscard]] NodeEntry entry() const { return {properties_, properties_.camera(modes_)}; }

 private:
  [[nodiscard]] static const pw_node_events& events();

  void onInfo(const pw_node_info& info);
  void onFormat(const spa_pod* format);

  Client& client_;
  NodeProperties properties_;
  const std::uint64_t serial_;
  pw_node* node_;  // owned
  spa_hook listener_{};
  std::vector<CameraMode> modes_;
  std::vector<CameraMode> incomingModes_;
  std::set<std::string> codedFormats_;
  bool isAsking_ = false;
  bool isWhole_ = false;
};

}  // namespace platform_linux
