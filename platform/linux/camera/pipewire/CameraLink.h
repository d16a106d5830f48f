#pragma once

#include <cstdint>
#include <functional>

#include <pipewire/pipewire.h>

namespace platform_linux {

/// A link from a camera to a program that uses it. Hears when the daemon cannot make it work, of which the
/// program's own stream hears nothing before PipeWire 1. On the loop's thread only.
class CameraLink {
 public:
  /// `failed` is called with an `errno`.
  CameraLink(pw_registry* registry, std::uint32_t id, std::function<void(int error)> failed);
  CameraLink(const CameraLink&) = delete;
  CameraLink& operator=(const CameraLink&) = delete;
  ~CameraLink();

 private:
  [[nodiscard]] static const pw_link_events& events();

  const std::function<void(int error)> failed_;
  pw_link* link_;  // owned
  spa_hook listener_{};
};

}  // namespace platform_linux
