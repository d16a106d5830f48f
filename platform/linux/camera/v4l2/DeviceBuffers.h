#pragma once

#include <array>
#include <cstdint>
#include <linux/videodev2.h>
#include <memory>
#include <span>
#include <vector>

#include "platform/linux/camera/CameraMode.h"
#include "platform/linux/camera/FrameBuffer.h"
#include "platform/linux/camera/v4l2/DeviceCalls.h"

namespace platform_linux {

/// The format to which a device is set, and how it lies in its buffers.
struct DeviceFormat {
  FrameFormat frame;
  std::uint32_t type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
  std::array<std::size_t, VIDEO_MAX_PLANES> strides{};  ///< of each block of memory; 0 where it is not stated
};

/// Sets the device to `mode` and reads back what it made of it, which need not be the same. 0, or an `errno`:
/// EBUSY when another program has the device, EINVAL when the outcome cannot be decoded.
[[nodiscard]] int setFormat(DeviceFile& device, std::uint32_t type, const CameraMode& mode,
                            DeviceFormat& agreed);

/// The buffers that a device fills in turn. They are given back when this is destroyed.
class DeviceBuffers {
 public:
  /// One picture, with its device's buffer.
  struct Picture {
    std::uint32_t index = 0;
    bool isUsable = false;  ///< not marked as damaged, not empty
    std::array<FrameBlock, VIDEO_MAX_PLANES> memory;
    std::size_t blockCount = 0;

    [[nodiscard]] std::span<const FrameBlock> blocks() const { return std::span(memory).first(blockCount); }
  };

  /// `device` outlives this.
  DeviceBuffers(DeviceFile& device, const DeviceFormat& format) : device_(device), format_(format) {}
  DeviceBuffers(const DeviceBuffers&) = delete;
  DeviceBuffers& operator=(const DeviceBuffers&) = delete;
  ~DeviceBuffers();

  /// Has the device begin. 0, or an `errno`. Once only.
  [[nodiscard]] int start();
  /// The next picture that is there; EAGAIN when none is.
  [[nodiscard]] int take(Picture& picture);
  [[nodiscard]] int giveBack(std::uint32_t index);
  [[nodiscard]] std::size_t count() const { return buffers_.size(); }

 private:
  using Blocks = std::vector<std::unique_ptr<MappedBuffer>>;
  /// A buffer's description with room for its planes.
  struct Description {
    v4l2_buffer buffer{};
    std::array<v4l2_plane, VIDEO_MAX_PLANES> planes{};
  };

  [[nodiscard]] bool isMultiPlanar() const { return format_.type == V4L2_BUF_TYPE_VIDEO_CAPTURE_MPLANE; }
  void prepare(Description& description, std::uint32_t index) const;
  [[nodiscard]] int mapAll(std::uint32_t index);
  void readBlocks(const Description& description, Picture& picture) const;

  DeviceFile& device_;
  const DeviceFormat format_;
  std::vector<Blocks> buffers_;
};

}  // namespace platform_linux
