#include "tests/desktop/virtual-camera/DeviceObject.h"

#include <stdexcept>
#include <utility>

#include <spa/monitor/utils.h>

// PipeWire's calls are macros that cast their first argument the C way.
#pragma GCC diagnostic ignored "-Wold-style-cast"

namespace virtual_camera {
namespace {

DeviceObject* self(void* data) {
  return static_cast<DeviceObject*>(data);
}

}  // namespace

DeviceObject::DeviceObject(pw_core* core, const CameraSpec& spec, std::function<void(std::uint32_t)> known)
    : known_(std::move(known)) {
  static constexpr spa_device_methods kMethods = [] {
    spa_device_methods methods{};
    methods.version = SPA_VERSION_DEVICE_METHODS;
    methods.add_listener = &DeviceObject::onAddListener;
    methods.sync = &DeviceObject::onSync;
    return methods;
  }();
  device_.iface = SPA_INTERFACE_INIT(SPA_TYPE_INTERFACE_Device, SPA_VERSION_DEVICE, &kMethods, this);
  spa_hook_list_init(&listeners_);
  properties_.reset(pw_properties_new(PW_KEY_MEDIA_CLASS, "Video/Device", PW_KEY_DEVICE_NAME,
                                      spec.device.c_str(), nullptr));
  for (const auto& [name, value] : spec.deviceProperties)
    pw_properties_set(properties_.get(), name.c_str(), value.empty() ? nullptr : value.c_str());
  proxy_.reset(pw_core_export(core, SPA_TYPE_INTERFACE_Device, &properties_->dict, &device_, 0));
  if (!proxy_) throw std::runtime_error("PipeWire refuses the device");
  static constexpr pw_proxy_events kEvents = [] {
    pw_proxy_events events{};
    events.version = PW_VERSION_PROXY_EVENTS;
    events.bound = &DeviceObject::onBound;
    return events;
  }();
  pw_proxy_add_listener(proxy_.get(), &hook_, &kEvents, this);
}

DeviceObject::~DeviceObject() {
  spa_hook_remove(&hook_);
}

int DeviceObject::onAddListener(void* data, spa_hook* listener, const spa_device_events* events,
                                void* listenerData) noexcept {
  // Every new listener is told of the device; the daemon shows it once it knows this.
  spa_hook_list save{};
  spa_hook_list_isolate(&self(data)->listeners_, &save, listener, events, listenerData);
  auto info = SPA_DEVICE_INFO_INIT();
  info.change_mask = SPA_DEVICE_CHANGE_MASK_PROPS;
  info.props = &self(data)->properties_->dict;
  spa_device_emit_info(&self(data)->listeners_, &info);
  spa_hook_list_join(&self(data)->listeners_, &save);
  return 0;
}

int DeviceObject::onSync(void* data, int sequence) noexcept {
  spa_device_emit_result(&self(data)->listeners_, sequence, 0, 0, nullptr);
  return 0;
}

void DeviceObject::onBound(void* data, std::uint32_t id) noexcept {
  self(data)->known_(id);
}

}  // namespace virtual_camera
