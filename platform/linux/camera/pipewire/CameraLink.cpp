#include "platform/linux/camera/pipewire/CameraLink.h"

#include <utility>

#include "platform/linux/camera/pipewire/ErrorMessage.h"
#include "platform/linux/camera/pipewire/PipeWireCalls.h"

namespace platform_linux {

const pw_link_events& CameraLink::events() {
  static const pw_link_events table = [] {
    pw_link_events events{};
    events.version = PW_VERSION_LINK_EVENTS;
    events.info = [](void* self, const pw_link_info* info) noexcept {
      if (info->state != PW_LINK_STATE_ERROR) return;
      static_cast<CameraLink*>(self)->failed_(errorNumberOfMessage(info->error ? info->error : ""));
    };
    return events;
  }();
  return table;
}

CameraLink::CameraLink(pw_registry* registry, std::uint32_t id, std::function<void(int error)> failed)
    : failed_(std::move(failed)), link_(bindLink(registry, id)) {
  if (link_) addLinkListener(link_, listener_, events(), this);
}

CameraLink::~CameraLink() {
  if (!link_) return;
  spa_hook_remove(&listener_);
  pw_proxy_destroy(reinterpret_cast<pw_proxy*>(link_));
}

}  // namespace platform_linux
