#pragma once

#include <cstdint>
#include <functional>

#include <pipewire/pipewire.h>

#include "platform/linux/camera/pipewire/StatedFormats.h"

namespace platform_linux {

/// A port of a camera's node, asked for the formats that it offers. On the loop's thread only.
class CameraPort {
 public:
  /// `isAsking` is called whenever more has been asked of the daemon.
  CameraPort(pw_registry* registry, std::uint32_t id, std::function<void()> isAsking);
  CameraPort(const CameraPort&) = delete;
  CameraPort& operator=(const CameraPort&) = delete;
  ~CameraPort();

  /// What has been told so far is whole.
  void finish() { formats_.finish(); }
  [[nodiscard]] const StatedFormats& formats() const { return formats_; }

 private:
  [[nodiscard]] static const pw_port_events& events();

  void onInfo(const pw_port_info& info);

  const std::function<void()> isAsking_;
  pw_port* port_;  // owned
  spa_hook listener_{};
  StatedFormats formats_;
};

}  // namespace platform_linux
