#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <pipewire/pipewire.h>

#include "platform/linux/camera/Camera.h"

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

  /// Whether an object with these properties is a camera: a video source that does not say it is a screen's.
  [[nodiscard]] static bool isCamera(const spa_dict& properties);

  CameraNode(pw_registry* registry, std::uint32_t id, const spa_dict& properties, Client& client);
  CameraNode(const CameraNode&) = delete;
  CameraNode& operator=(const CameraNode&) = delete;
  ~CameraNode();

  /// What has been told so far is whole: it becomes visible in `camera`.
  void finish();
  [[nodiscard]] bool isWhole() const { return isWhole_; }
  /// False when the camera states formats and none can be decoded: infrared cameras that recognise faces, for
  /// one.
  [[nodiscard]] bool isUsable() const { return !camera_.modes.empty() || !statesFormats_; }
  [[nodiscard]] const Camera& camera() const { return camera_; }

 private:
  static const pw_node_events& events();

  void onInfo(const pw_node_info& info);
  void onFormat(const spa_pod* format);

  Client& client_;
  Camera camera_;
  pw_node* node_;  // owned
  spa_hook listener_{};
  std::vector<CameraMode> incomingModes_;
  bool isAsking_ = false;
  bool isWhole_ = false;
  bool statesFormats_ = false;
};

}  // namespace platform_linux
