#include "platform/linux/camera/pipewire/CameraNode.h"

#include <cstdlib>
#include <span>

#include "platform/linux/camera/pipewire/ErrorMessage.h"
#include "platform/linux/camera/pipewire/PipeWireCalls.h"

namespace platform_linux {
namespace {

std::uint64_t serialOf(const spa_dict& properties) {
  const char* const serial = spa_dict_lookup(&properties, PW_KEY_OBJECT_SERIAL);
  return serial ? std::strtoull(serial, nullptr, 10) : 0;
}

}  // namespace

const pw_node_events& CameraNode::events() {
  static const pw_node_events table = [] {
    pw_node_events events{};
    events.version = PW_VERSION_NODE_EVENTS;
    events.info = [](void* self, const pw_node_info* info) noexcept {
      static_cast<CameraNode*>(self)->onInfo(*info);
    };
    events.param = [](void* self, int, std::uint32_t id, std::uint32_t, std::uint32_t,
                      const spa_pod* parameter) noexcept {
      if (id == SPA_PARAM_EnumFormat) static_cast<CameraNode*>(self)->formats_.add(parameter);
    };
    return events;
  }();
  return table;
}

CameraNode::CameraNode(pw_registry* registry, std::uint32_t id, const spa_dict& properties, Client& client)
    : registry_(registry), client_(client), serial_(serialOf(properties)) {
  properties_.merge(properties);
  node_ = bindNode(registry, id);
  if (node_) addNodeListener(node_, listener_, events(), this);
}

CameraNode::~CameraNode() {
  if (!node_) return;
  spa_hook_remove(&listener_);
  pw_proxy_destroy(reinterpret_cast<pw_proxy*>(node_));
}

void CameraNode::addPort(std::uint32_t id) {
  ports_[id] = nullptr;
}

void CameraNode::finish() {
  formats_.finish();
  for (const auto& [id, port] : ports_)
    if (port) port->finish();
  isWhole_ = true;
  if (!isUsable()) askPorts();
}

// Only once each: a port tells by itself when its formats change.
void CameraNode::askPorts() {
  for (auto& [id, port] : ports_) {
    if (port) continue;
    isWhole_ = false;
    port = std::make_unique<CameraPort>(registry_, id, [this] { client_.nodeIsAsking(); });
  }
}

std::vector<CameraMode> CameraNode::modes() const {
  if (!formats_.modes().empty()) return formats_.modes();
  std::vector<CameraMode> modes;
  for (const auto& [id, port] : ports_)
    if (port) modes.insert(modes.end(), port->formats().modes().begin(), port->formats().modes().end());
  return modes;
}

std::set<std::string> CameraNode::codedFormats() const {
  std::set<std::string> names = formats_.codedFormats();
  for (const auto& [id, port] : ports_)
    if (port) names.insert(port->formats().codedFormats().begin(), port->formats().codedFormats().end());
  return names;
}

void CameraNode::onInfo(const pw_node_info& info) {
  if ((info.change_mask & PW_NODE_CHANGE_MASK_STATE) && info.state == PW_NODE_STATE_ERROR)
    client_.nodeFailed(*this, errorNumberOfMessage(info.error ? info.error : ""));
  if ((info.change_mask & PW_NODE_CHANGE_MASK_PROPS) && info.props) {
    properties_.merge(*info.props);
    client_.nodeIsAsking();
  }
  if (!(info.change_mask & PW_NODE_CHANGE_MASK_PARAMS)) return;
  if (formats_.mustBeAskedFor(std::span(info.params, info.n_params)))
    askForParameter(node_, SPA_PARAM_EnumFormat);
  client_.nodeIsAsking();
}

}  // namespace platform_linux
