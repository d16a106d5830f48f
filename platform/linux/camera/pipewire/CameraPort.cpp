#include "platform/linux/camera/pipewire/CameraPort.h"

#include <span>
#include <utility>

#include "platform/linux/camera/pipewire/PipeWireCalls.h"

namespace platform_linux {

const pw_port_events& CameraPort::events() {
  static const pw_port_events table = [] {
    pw_port_events events{};
    events.version = PW_VERSION_PORT_EVENTS;
    events.info = [](void* self, const pw_port_info* info) noexcept {
      static_cast<CameraPort*>(self)->onInfo(*info);
    };
    events.param = [](void* self, int, std::uint32_t id, std::uint32_t, std::uint32_t,
                      const spa_pod* parameter) noexcept {
      if (id == SPA_PARAM_EnumFormat) static_cast<CameraPort*>(self)->formats_.add(parameter);
    };
    return events;
  }();
  return table;
}

CameraPort::CameraPort(pw_registry* registry, std::uint32_t id, std::function<void()> isAsking)
    : isAsking_(std::move(isAsking)), port_(bindPort(registry, id)) {
  if (!port_) return;
  addPortListener(port_, listener_, events(), this);
  isAsking_();
}

CameraPort::~CameraPort() {
  if (!port_) return;
  spa_hook_remove(&listener_);
  pw_proxy_destroy(reinterpret_cast<pw_proxy*>(port_));
}

void CameraPort::onInfo(const pw_port_info& info) {
  if (!(info.change_mask & PW_PORT_CHANGE_MASK_PARAMS)) return;
  if (formats_.mustBeAskedFor(std::span(info.params, info.n_params)))
    askForParameter(port_, SPA_PARAM_EnumFormat);
  isAsking_();
}

}  // namespace platform_linux
