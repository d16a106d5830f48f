#include "platform/linux/camera/pipewire/PipeWireLoop.h"

#include "platform/linux/camera/pipewire/PipeWireCalls.h"

namespace platform_linux {

PipeWireLoop::PipeWireLoop(CameraLoop& loop) : loop_(pw_loop_new(nullptr)) {
  if (!loop_) return;
  enterLoop(loop_);
  watch_ = loop.watch(loopDescriptor(loop_), [this] { turnLoop(loop_); });
}

PipeWireLoop::~PipeWireLoop() {
  if (!loop_) return;
  watch_.reset();
  leaveLoop(loop_);
  pw_loop_destroy(loop_);
}

}  // namespace platform_linux
