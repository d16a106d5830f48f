#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "picture/Frame.h"

namespace platform_linux {

/// The format that a camera has agreed to deliver.
struct FrameFormat {
  picture::PixelFormat format = picture::PixelFormat::MJPG;
  std::uint32_t width = 0;   ///< pixels
  std::uint32_t height = 0;  ///< pixels
  picture::ColorMatrix matrix = picture::ColorMatrix::BT601;
  picture::ColorRange range = picture::ColorRange::Unstated;
  picture::Transform transform = picture::Transform::None;  ///< of one picture
};

/// One block of a camera's buffer, only its filled part.
struct FrameBlock {
  std::span<const std::uint8_t> bytes;
  std::size_t stride = 0;  ///< bytes from row to row; 0 when the camera does not state it
};

/// A picture in one of the camera's buffers, looked at in place. Valid as long as the buffer is held. An
/// uncompressed one is whole; of a JPEG stream the camera may have lost parts, which only its decoding tells.
class FrameBuffer {
 public:
  /// Nothing when the blocks hold no usable picture: there is none, or an uncompressed one is cut short. All
  /// planes may lie in one block, one after the other, or each in a block of its own.
  [[nodiscard]] static std::optional<FrameBuffer> pictureIn(std::span<const FrameBlock> blocks,
                                                            const FrameFormat& format);

  /// What was agreed on with the camera.
  [[nodiscard]] const FrameFormat& format() const { return format_; }
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

  explicit FrameBuffer(const FrameFormat& format) : format_(format) {}

  [[nodiscard]] bool findPlanes(std::span<const FrameBlock> blocks);
  static void appendPlane(const Plane& plane, std::vector<std::uint8_t>& bytes);

  FrameFormat format_;
  std::array<Plane, 3> planes_;
  std::size_t planeCount_ = 1;
};

}  // namespace platform_linux
