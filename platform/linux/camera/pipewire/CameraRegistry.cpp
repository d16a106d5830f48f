#include "platform/linux/camera/pipewire/CameraRegistry.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "platform/linux/camera/pipewire/PipeWireCalls.h"

namespace platform_linux {

const pw_registry_events& CameraRegistry::events() {
  static const pw_registry_events table = [] {
    pw_registry_events events{};
    events.version = PW_VERSION_REGISTRY_EVENTS;
    events.global = [](void* self, std::uint32_t id, std::uint32_t, const char* type, std::uint32_t,
                       const spa_dict* properties) noexcept {
      static_cast<CameraRegistry*>(self)->onGlobal(id, type, properties);
    };
    events.global_remove = [](void* self, std::uint32_t id) noexcept {
      static_cast<CameraRegistry*>(self)->onGlobalRemoved(id);
    };
    return events;
  }();
  return table;
}

CameraRegistry::CameraRegistry(PipeWireConnection& connection, Client& client)
    : connection_(connection),
      client_(client),
      registry_(pw_core_get_registry(connection.core(), PW_VERSION_REGISTRY, 0)) {
  if (registry_) addRegistryListener(registry_, listener_, events(), this);
  awaitedSync_ = connection_.sync();
}

CameraRegistry::~CameraRegistry() {
  nodes_.clear();
  if (!registry_) return;
  spa_hook_remove(&listener_);
  pw_proxy_destroy(reinterpret_cast<pw_proxy*>(registry_));
}

void CameraRegistry::synced(int sequence) {
  // Of several questions under way only the last one's answer makes the picture whole.
  if (sequence != awaitedSync_) return;
  for (auto& [id, node] : nodes_)
    node->finish();
  isComplete_ = true;
  tell();
}

void CameraRegistry::nodeIsAsking() {
  awaitedSync_ = connection_.sync();
}

void CameraRegistry::nodeFailed(const CameraNode& node, int error) {
  client_.cameraFailed(node.camera().serial, error);
}

void CameraRegistry::onGlobal(std::uint32_t id, const char* type, const spa_dict* properties) {
  if (std::string_view(type) != PW_TYPE_INTERFACE_Node || !properties || !CameraNode::isCamera(*properties))
    return;
  nodes_[id] = std::make_unique<CameraNode>(registry_, id, *properties, *this);
  awaitedSync_ = connection_.sync();
}

void CameraRegistry::onGlobalRemoved(std::uint32_t id) {
  if (nodes_.erase(id) > 0 && isComplete_) tell();
}

void CameraRegistry::tell() {
  std::vector<Camera> cameras;
  for (const auto& [id, node] : nodes_)
    if (node->isWhole() && node->isUsable()) cameras.push_back(node->camera());
  // Serials grow with time, ids are used again.
  std::sort(cameras.begin(), cameras.end(), [](auto& a, auto& b) { return a.serial < b.serial; });
  client_.camerasChanged(std::move(cameras));
}

}  // namespace platform_linux
