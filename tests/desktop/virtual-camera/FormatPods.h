#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include <spa/pod/pod.h>

#include "tests/desktop/virtual-camera/CameraSpec.h"
#include "tests/desktop/virtual-camera/FrameLayout.h"

namespace virtual_camera {

/// What a consumer and the camera agreed on.
struct NegotiatedFormat {
  PixelFormat format = PixelFormat::kMjpg;
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  std::uint32_t rateNumerator = 30;
  std::uint32_t rateDenominator = 1;
};

/// The buffers that one side wants.
struct BufferRequest {
  std::uint32_t types = 0;        ///< one bit for each `enum spa_data_type` that will do
  std::size_t blocks = 0;         ///< 0: as many as the other side has, of its size and stride
  std::size_t size = 0;           ///< of a block, bytes
  std::size_t stride = 0;         ///< of the first block
  std::optional<int> count = {};  ///< exactly so many buffers; without it 2 to 16
};

/// Parameters of a PipeWire stream, with the memory that they lie in.
class PodList {
 public:
  PodList() : memory_(kRoom) {}

  void addMode(const Mode& mode, const Colorimetry& colorimetry = {});
  void addBuffers(const BufferRequest& request);
  /// Asks for a piece of metadata (enum spa_meta_type) of `size` bytes with each buffer.
  void addMeta(std::uint32_t type, std::size_t size);

  const spa_pod** data() { return pods_.data(); }
  std::uint32_t size() const { return static_cast<std::uint32_t>(pods_.size()); }

 private:
  /// 300 bytes a mode suffice; more than a hundred modes is no camera.
  static constexpr std::size_t kRoom = 65536;

  struct Builder;
  void keep(Builder& builder, spa_pod* pod);

  std::vector<std::uint8_t> memory_;
  std::size_t used_ = 0;
  std::vector<const spa_pod*> pods_;
};

/// Nothing when `pod` is not a format that the camera can have offered.
std::optional<NegotiatedFormat> parseFormat(const spa_pod* pod);

}  // namespace virtual_camera
