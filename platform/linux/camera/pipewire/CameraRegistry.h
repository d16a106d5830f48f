#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <vector>

#include <pipewire/pipewire.h>

#include "platform/linux/camera/pipewire/CameraNode.h"
#include "platform/linux/camera/pipewire/PipeWireConnection.h"

namespace platform_linux {

/// The cameras that one daemon knows, for as long as the connection to it lasts. On the loop's thread only.
class CameraRegistry final : public CameraNode::Client {
 public:
  class Client {
   public:
    virtual ~Client() = default;
    /// These cameras are there now, in the order in which they appeared; first told when all that were there
    /// at the beginning are known with their modes.
    virtual void camerasChanged(std::vector<Camera> cameras) = 0;
    /// The camera of that serial has failed with `error`, an `errno`.
    virtual void cameraFailed(std::uint64_t serial, int error) = 0;
  };

  /// `connection` is connected and, like `client`, outlives the registry.
  CameraRegistry(PipeWireConnection& connection, Client& client);
  CameraRegistry(const CameraRegistry&) = delete;
  CameraRegistry& operator=(const CameraRegistry&) = delete;
  ~CameraRegistry() override;

  /// To be called with what the connection tells.
  void synced(int sequence);

 private:
  static const pw_registry_events& events();

  void nodeIsAsking() override;
  void nodeFailed(const CameraNode& node, int error) override;
  void onGlobal(std::uint32_t id, const char* type, const spa_dict* properties);
  void onGlobalRemoved(std::uint32_t id);
  void tell();

  PipeWireConnection& connection_;
  Client& client_;
  pw_registry* registry_;  // owned
  spa_hook listener_{};
  std::map<std::uint32_t, std::unique_ptr<CameraNode>> nodes_;  // by the registry's id
  int awaitedSync_ = 0;
  bool isComplete_ = false;
};

}  // namespace platform_linux
