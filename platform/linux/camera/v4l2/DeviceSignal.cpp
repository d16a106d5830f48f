#include "platform/linux/camera/v4l2/DeviceSignal.h"

#include <linux/videodev2.h>

namespace platform_linux {
namespace {

/// The number of the input that is chosen; drivers with one need not know the question.
std::uint32_t currentInput(DeviceFile& device) {
  int number = 0;
  return device.control(VIDIOC_G_INPUT, &number) == 0 ? static_cast<std::uint32_t>(number) : 0;
}

void adoptTimings(DeviceFile& device) {
  v4l2_dv_timings timings{};
  if (device.control(VIDIOC_QUERY_DV_TIMINGS, &timings) != 0) return;
  [[maybe_unused]] const int refused = device.control(VIDIOC_S_DV_TIMINGS, &timings);
}

// Drivers that cannot tell answer all standards that they know: what somebody has chosen of them stays.
void adoptStandard(DeviceFile& device) {
  v4l2_std_id found = 0;
  v4l2_std_id chosen = 0;
  if (device.control(VIDIOC_QUERYSTD, &found) != 0 || device.control(VIDIOC_G_STD, &chosen) != 0) return;
  if (found == 0 || (found & chosen) != 0) return;
  [[maybe_unused]] const int refused = device.control(VIDIOC_S_STD, &found);
}

}  // namespace

void adoptSignal(DeviceFile& device) {
  v4l2_input input{};
  input.index = currentInput(device);
  if (device.control(VIDIOC_ENUMINPUT, &input) != 0) return;
  if ((input.capabilities & V4L2_IN_CAP_DV_TIMINGS) != 0) adoptTimings(device);
  if ((input.capabilities & V4L2_IN_CAP_STD) != 0) adoptStandard(device);
}

bool followSignal(DeviceFile& device) {
  v4l2_event_subscription subscription{};
  subscription.type = V4L2_EVENT_SOURCE_CHANGE;
  subscription.id = currentInput(device);
  return device.control(VIDIOC_SUBSCRIBE_EVENT, &subscription) == 0;
}

bool takeSignalChange(DeviceFile& device) {
  bool hasChanged = false;
  v4l2_event event{};
  while (device.control(VIDIOC_DQEVENT, &event) == 0) {
    if (event.type == V4L2_EVENT_SOURCE_CHANGE &&
        (event.u.src_change.changes & V4L2_EVENT_SRC_CH_RESOLUTION) != 0)
      hasChanged = true;
    if (event.pending == 0) break;
  }
  return hasChanged;
}

}  // namespace platform_linux
