#include "platform/linux/camera/pipewire/CameraNode.h"

#include <cstdlib>
#include <span>
#include <utility>

#include "platform/linux/camera/pipewire/ErrorMessage.h"
#include "platform/linux/camera/pipewire/FormatPods.h"
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
      if (id == SPA_PARAM_EnumFormat) static_cast<CameraNode*>(self)->onFormat(parameter);
    };
    return events;
  }();
  return table;
}

CameraNode::CameraNode(pw_registry* registry, std::uint32_t id, const spa_dict& properties, Client& client)
    : client_(client), serial_(serialOf(properties)) {
  properties_.merge(properties);
  node_ = bindNode(registry, id);
  if (node_) addNodeListener(node_, listener_, events(), this);
}

CameraNode::~CameraNode() {
  if (!node_) return;
  spa_hook_remove(&listener_);
  pw_proxy_destroy(reinterpret_cast<pw_proxy*>(node_));
}

void CameraNode::finish() {
  if (std::exchange(isAsking_, false)) modes_ = std::move(incomingModes_);
  isWhole_ = true;
}

void CameraNode::onInfo(const pw_node_info& info) {
  if ((info.change_mask & PW_NODE_CHANGE_MASK_STATE) && info.state == PW_NODE_STATE_ERROR)
    client_.nodeFailed(*this, errorNumberOfMessage(info.error ? info.error : ""));
  if ((info.change_mask & PW_NODE_CHANGE_MASK_PROPS) && info.props) {
    properties_.merge(*info.props);
    client_.nodeIsAsking();
  }
  if (!(info.change_mask & PW_NODE_CHANGE_MASK_PARAMS)) return;
  for (const auto& parameter : std::span(info.params, info.n_params)) {
    if (parameter.id != SPA_PARAM_EnumFormat || !(parameter.flags & SPA_PARAM_INFO_READ)) continue;
    isAsking_ = true;
    incomingModes_.clear();
    askForParameter(node_, SPA_PARAM_EnumFormat);
    client_.nodeIsAsking();
  }
}

void CameraNode::onFormat(const spa_pod* format) {
  const auto modes = modesOfFormatPod(format);
  if (modes.empty()) codedFormats_.insert(formatName(format));
  incomingModes_.insert(incomingModes_.end(), modes.begin(), modes.end());
}

}  // namespace platform_linux
