#pragma once

#include <optional>
#include <string>
#include <vector>

#include <spa/pod/builder.h>
#include <spa/pod/pod.h>

#include "platform/linux/camera/CameraMode.h"
#include "platform/linux/camera/FrameBuffer.h"

namespace platform_linux {

/// The modes that one `EnumFormat` parameter of a node offers; none when it is of no format that can be
/// decoded. Of a range of sizes or rates only what the camera prefers and the upper end count, of the latter
/// nothing that is not a camera's.
[[nodiscard]] std::vector<CameraMode> modesOfFormatPod(const spa_pod* pod);

/// What people call the format of an `EnumFormat` parameter that cannot be decoded: "H.264".
[[nodiscard]] std::string formatName(const spa_pod* pod);

/// Exactly `mode`, as an `EnumFormat` parameter in `builder`'s memory.
[[nodiscard]] const spa_pod* formatPodOfMode(const CameraMode& mode, spa_pod_builder& builder);

/// Reads a `Format` parameter. A colour matrix that it does not state is BT.601.
[[nodiscard]] std::optional<FrameFormat> agreedFormatOfPod(const spa_pod* pod);

}  // namespace platform_linux
