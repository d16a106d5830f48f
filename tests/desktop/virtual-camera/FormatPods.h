#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include <spa/pod/pod.h>

#include "tests/desktop/virtual-camera/CameraSpec.h"
#include "tests/desktop/virtual-camera/FrameEncoder.h"

namespace virtual_camera {

/// What a consumer and the camera agreed on.
struct NegotiatedFormat {
  PixelFormat format = PixelFormat::kMjpg;
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  std::uint32_t rateNumerator = 30;
  std::uint32_t rateDenominator = 1;
};

/// Parameters of a PipeWire stream, with the memory that they lie in.
class PodList {
 public:
  PodList() : memory_(kRoom) {}

  void addMode(const Mode& mode, Colorimetry colorimetry);
  void addBuffers(const FrameLayout& layout);
  void addHeader();

  const spa_pod** data() { return pods_.data(); }
  std::uint32_t size() const { return static_cast<std::uint32_t>(pods_.size()); }

 private:
  /// 256 bytes a mode suffice; more than a hundred modes is no camera.
  static constexpr std::size_t kRoom = 32768;

  struct Builder;
  void keep(Builder& builder, spa_pod* pod);

  std::vector<std::uint8_t> memory_;
  std::size_t used_ = 0;
  std::vector<const spa_pod*> pods_;
};

/// Nothing when `pod` is not a format that the camera can have offered.
std::optional<NegotiatedFormat> parseFormat(const spa_pod* pod);

}  // namespace virtual_camera
