#pragma once

#include <cstdint>
#include <functional>
#include <memory>

#include <pipewire/pipewire.h>
#include <spa/monitor/device.h>

#include "tests/desktop/virtual-camera/CameraSpec.h"

namespace virtual_camera {

/// The device to which a camera's node belongs, as session managers show one before its nodes. Its life in
/// the registry is the object's life. Bound to the loop's thread; must not be destroyed from within `known`.
class DeviceObject {
 public:
  /// `known` gets the device's id once the registry has it. Throws std::runtime_error when PipeWire refuses.
  DeviceObject(pw_core* core, const CameraSpec& spec, std::function<void(std::uint32_t)> known);
  ~DeviceObject();
  DeviceObject(const DeviceObject&) = delete;
  DeviceObject& operator=(const DeviceObject&) = delete;

 private:
  static int onAddListener(void* data, spa_hook* listener, const spa_device_events* events,
                           void* listenerData) noexcept;
  static int onSync(void* data, int sequence) noexcept;
  static void onBound(void* data, std::uint32_t id) noexcept;

  struct PropertiesDeleter {
    void operator()(pw_properties* properties) const { pw_properties_free(properties); }
  };
  struct ProxyDeleter {
    void operator()(pw_proxy* proxy) const { pw_proxy_destroy(proxy); }
  };

  std::function<void(std::uint32_t)> known_;
  std::unique_ptr<pw_properties, PropertiesDeleter> properties_;
  spa_device device_{};
  spa_hook_list listeners_{};
  spa_hook hook_{};
  std::unique_ptr<pw_proxy, ProxyDeleter> proxy_;
};

}  // namespace virtual_camera
