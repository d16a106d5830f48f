#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include <spa/buffer/buffer.h>

#include "picture/Frame.h"
#include "platform/linux/camera/pipewire/FormatPods.h"

namespace platform_linux {

/// A whole picture in one of the camera's buffers, looked at in place. Valid as long as the buffer is held.
class FrameBuffer {
 public:
  /// Nothing when the buffer holds no usable picture: it is empty, marked as corrupted, or cut short.
  [[nodiscard]] static std::optional<FrameBuffer> wholePicture(const spa_buffer& buffer,
                                                               const AgreedFormat& format);

  /// A copy for keeping. The planes of uncompressed formats follow each other without a gap, the rows of
  /// I420's colour planes are half as long as those of its first.
  [[nodiscard]] std::shared_ptr<picture::Frame> copy(std::uint64_t sequence) const;

 private:
  struct Plane {
    std::span<const std::uint8_t> bytes;  // as they lie in the buffer
    std::size_t stride = 0;               // in the buffer, from row to row
    std::size_t copyStride = 0;           // in the copy
    std::size_t rowBytes = 0;             // without padding
    std::size_t rows = 0;
  };

  explicit FrameBuffer(const AgreedFormat& format) : format_(format) {}

  [[nodiscard]] bool findPlanes(const spa_buffer& buffer);
  static void appendPlane(const Plane& plane, std::vector<std::uint8_t>& bytes);

  AgreedFormat format_;
  std::array<Plane, 3> planes_;
  std::size_t planeCount_ = 1;
};

}  // namespace platform_linux
