#pragma once

#include <optional>
#include <vector>

#include <spa/pod/builder.h>
#include <spa/pod/pod.h>

#include "platform/linux/camera/CameraMode.h"

namespace platform_linux {

/// The format that a camera has agreed to deliver.
struct AgreedFormat {
  picture::PixelFormat format = picture::PixelFormat::MJPG;
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  picture::ColorMatrix matrix = picture::ColorMatrix::BT601;
  picture::ColorRange range = picture::ColorRange::Limited;
};

/// The modes that one `EnumFormat` parameter of a node offers; none when it is of no format that can be
/// decoded. Of a range of sizes or rates only what the camera prefers and the upper end count, of the latter
/// nothing that is not a camera's.
[[nodiscard]] std::vector<CameraMode> modesOfFormatPod(const spa_pod* pod);

/// Exactly `mode`, as an `EnumFormat` parameter in `builder`'s memory.
[[nodiscard]] const spa_pod* formatPodOfMode(const CameraMode& mode, spa_pod_builder& builder);

/// Reads a `Format` parameter. Colours that it does not state are those that cameras use: BT.601 for standard
/// definition, at most 576 lines, BT.709 above; limited range.
[[nodiscard]] std::optional<AgreedFormat> agreedFormatOfPod(const spa_pod* pod);

}  // namespace platform_linux
