#pragma once

#include "platform/linux/camera/v4l2/DeviceCalls.h"

namespace platform_linux {

// What grabbers have and cameras have not: a signal from elsewhere, which may change at any time.

/// Sets a device to the signal at its input: to the timings of HDMI, to the standard of television. Drivers
/// leave that to programs. Nothing changes without a signal, or while another program streams.
void adoptSignal(DeviceFile& device);

/// Asks the device to tell of changes of its signal (V4L2_EVENT_SOURCE_CHANGE), for which its descriptor then
/// becomes ready. False when it does not tell.
[[nodiscard]] bool followSignal(DeviceFile& device);

/// Takes what the device has told; true when its pictures are others from now on.
[[nodiscard]] bool takeSignalChange(DeviceFile& device);

}  // namespace platform_linux
