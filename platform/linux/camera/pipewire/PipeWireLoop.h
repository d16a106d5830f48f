#pragma once

#include <memory>

#include <pipewire/pipewire.h>

#include "platform/linux/camera/CameraLoop.h"

namespace platform_linux {

/// libpipewire's loop, turned by the cameras' loop whenever it has something to do. On that loop's thread
/// only.
class PipeWireLoop {
 public:
  explicit PipeWireLoop(CameraLoop& loop);
  PipeWireLoop(const PipeWireLoop&) = delete;
  PipeWireLoop& operator=(const PipeWireLoop&) = delete;
  ~PipeWireLoop();

  /// Nothing when the system has no descriptor left.
  [[nodiscard]] pw_loop* raw() const { return loop_; }

 private:
  pw_loop* loop_;  // owned
  std::unique_ptr<CameraLoop::Watch> watch_;
};

}  // namespace platform_linux
