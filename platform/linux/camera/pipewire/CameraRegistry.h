#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <set>
#include <string>

#include <pipewire/pipewire.h>

#include "platform/linux/camera/FrameSource.h"
#include "platform/linux/camera/pipewire/CameraLink.h"
#include "platform/linux/camera/pipewire/CameraNode.h"
#include "platform/linux/camera/pipewire/PipeWireConnection.h"

namespace platform_linux {

/// The cameras that one daemon knows, for as long as the connection to it lasts. On the loop's thread only.
class CameraRegistry final : public CameraNode::Client {
 public:
  class Client {
   public:
    virtual ~Client() = default;
    /// This is there now; first told when all that was there at the beginning is known with its modes.
    virtual void camerasChanged(CameraCensus census) = 0;
    /// The camera of that serial has failed with `error`, an `errno`.
    virtual void cameraFailed(std::uint64_t serial, int error) = 0;
    /// The link from a camera to the node `user` has failed with `error`, an `errno`.
    virtual void linkFailed(std::uint32_t user, int error) = 0;
  };

  /// `connection` is connected and, like `client`, outlives the registry.
  CameraRegistry(CameraLoop& loop, PipeWireConnection& connection, Client& client);
  CameraRegistry(const CameraRegistry&) = delete;
  CameraRegistry& operator=(const CameraRegistry&) = delete;
  ~CameraRegistry() override;

  /// To be called with what the connection tells.
  void synced(int sequence);
  /// Whether the camera of that serial is there.
  [[nodiscard]] bool knows(std::uint64_t serial) const;

 private:
  [[nodiscard]] static const pw_registry_events& events();

  void nodeIsAsking() override;
  void nodeFailed(const CameraNode& node, int error) override;
  void onGlobal(std::uint32_t id, const char* type, const spa_dict* properties);
  void onGlobalRemoved(std::uint32_t id);
  /// Follows a link of these properties if it comes from a camera.
  void addLink(std::uint32_t id, const spa_dict& properties);
  /// The camera's node to which a port of these properties belongs, if pictures come out of it.
  [[nodiscard]] CameraNode* nodeOfPort(const spa_dict& properties) const;
  [[nodiscard]] bool mayExpectMore() const;
  [[nodiscard]] std::set<std::string> deviceNames() const;
  void tell();

  PipeWireConnection& connection_;
  Client& client_;
  pw_registry* registry_;  // owned
  spa_hook listener_{};
  // By the registry's id:
  std::map<std::uint32_t, std::unique_ptr<CameraNode>> nodes_;
  std::map<std::uint32_t, std::unique_ptr<CameraLink>> links_;
  std::map<std::uint32_t, std::string> devices_;  // names of cameras' devices, which show nodes
  std::set<std::uint32_t> managers_;              // session managers
  const std::unique_ptr<CameraLoop::Timer> patience_;
  bool isPatient_ = true;
  int awaitedSync_ = 0;
  bool isComplete_ = false;
};

}  // namespace platform_linux
