#include "platform/linux/camera/pipewire/CameraRegistry.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <string_view>
#include <utility>

#include "platform/linux/camera/pipewire/PipeWireCalls.h"

namespace platform_linux {

namespace {

/// How long nodes are waited for that devices or a session manager may still bring. Session managers of today
/// wait for a second before they show a device's nodes; whoever asks for the cameras waits for two.
constexpr std::chrono::milliseconds kPatience{1800};

std::string_view property(const spa_dict& properties, const char* key) {
  const char* value = spa_dict_lookup(&properties, key);
  return value ? value : "";
}

std::uint32_t idProperty(const spa_dict& properties, const char* key) {
  const char* value = spa_dict_lookup(&properties, key);
  return value ? static_cast<std::uint32_t>(std::strtoul(value, nullptr, 10)) : PW_ID_ANY;
}

bool isCameraDevice(const spa_dict& properties) {
  const auto api = property(properties, PW_KEY_DEVICE_API);
  return api == "v4l2" || api == "libcamera" || property(properties, PW_KEY_MEDIA_CLASS) == "Video/Device";
}

bool isSessionManager(const spa_dict& properties) {
  const auto name = property(properties, PW_KEY_APP_NAME);
  return name.starts_with("WirePlumber") || name.starts_with("pipewire-media-session");
}

}  // namespace

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

CameraRegistry::CameraRegistry(CameraLoop& loop, PipeWireConnection& connection, Client& client)
    : connection_(connection),
      client_(client),
      registry_(pw_core_get_registry(connection.core(), PW_VERSION_REGISTRY, 0)),
      patience_(loop.timer([this] {
        isPatient_ = false;
        if (isComplete_) tell();
      })) {
  patience_->startOnce(kPatience);
  if (registry_) addRegistryListener(registry_, listener_, events(), this);
  awaitedSync_ = connection_.sync();
}

CameraRegistry::~CameraRegistry() {
  links_.clear();
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
  // Some nodes have their ports asked then.
  if (sequence != awaitedSync_) return;
  isComplete_ = true;
  tell();
}

bool CameraRegistry::knows(std::uint64_t serial) const {
  return std::any_of(nodes_.begin(), nodes_.end(),
                     [serial](const auto& node) { return node.second->serial() == serial; });
}

void CameraRegistry::nodeIsAsking() {
  awaitedSync_ = connection_.sync();
}

void CameraRegistry::nodeFailed(const CameraNode& node, int error) {
  client_.cameraFailed(node.serial(), error);
}

void CameraRegistry::onGlobal(std::uint32_t id, const char* type, const spa_dict* properties) {
  if (!properties) return;
  const std::string_view kind(type);
  if (kind == PW_TYPE_INTERFACE_Link) return addLink(id, *properties);
  if (kind == PW_TYPE_INTERFACE_Node && property(*properties, PW_KEY_MEDIA_CLASS).starts_with("Video/Source"))
    nodes_[id] = std::make_unique<CameraNode>(registry_, id, *properties, *this);
  else if (CameraNode* const node = kind == PW_TYPE_INTERFACE_Port ? nodeOfPort(*properties) : nullptr)
    node->addPort(id);
  else if (kind == PW_TYPE_INTERFACE_Device && isCameraDevice(*properties))
    devices_[id] = property(*properties, PW_KEY_DEVICE_NAME);
  else if (kind == PW_TYPE_INTERFACE_Client && isSessionManager(*properties))
    managers_.insert(id);
  else
    return;
  awaitedSync_ = connection_.sync();
}

void CameraRegistry::addLink(std::uint32_t id, const spa_dict& properties) {
  if (!nodes_.contains(idProperty(properties, PW_KEY_LINK_OUTPUT_NODE))) return;
  const auto user = idProperty(properties, PW_KEY_LINK_INPUT_NODE);
  links_[id] = std::make_unique<CameraLink>(registry_, id,
                                            [this, user](int error) { client_.linkFailed(user, error); });
}

CameraNode* CameraRegistry::nodeOfPort(const spa_dict& properties) const {
  if (property(properties, PW_KEY_PORT_DIRECTION) != "out") return nullptr;
  const auto found = nodes_.find(idProperty(properties, PW_KEY_NODE_ID));
  return found != nodes_.end() ? found->second.get() : nullptr;
}

void CameraRegistry::onGlobalRemoved(std::uint32_t id) {
  links_.erase(id);
  for (auto& [nodeId, node] : nodes_)
    node->removePort(id);
  const std::size_t gone = nodes_.erase(id) + devices_.erase(id) + managers_.erase(id);
  if (gone > 0 && isComplete_) tell();
}

// Only while no camera is known: of several devices some may have no node for good, as those that are shown
// by another way.
bool CameraRegistry::mayExpectMore() const {
  return isPatient_ && nodes_.empty() && (!devices_.empty() || managers_.empty());
}

std::set<std::string> CameraRegistry::deviceNames() const {
  std::set<std::string> names;
  for (const auto& [id, name] : devices_)
    names.insert(name);
  return names;
}

void CameraRegistry::tell() {
  CameraCensus census;
  std::vector<NodeEntry> entries;
  for (const auto& [id, node] : nodes_) {
    if (!node->isWhole() || !node->properties().isCamera()) continue;
    if (node->isUsable()) {
      entries.push_back(node->entry());
      continue;
    }
    const auto formats = node->codedFormats();
    census.notes.push_back(whyNotListed(node->properties().title(), formats));
    if (const auto place = node->entry().camera.place; formats.empty() && !place.empty())
      census.unread.insert(place);
  }
  census.cameras = distinctCameras(std::move(entries), deviceNames());
  census.state = mayExpectMore() ? CameraCensus::State::Gathering : CameraCensus::State::Complete;
  client_.camerasChanged(std::move(census));
}

}  // namespace platform_linux
