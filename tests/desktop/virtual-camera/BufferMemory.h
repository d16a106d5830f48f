#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include <spa/buffer/buffer.h>

#include "tests/desktop/virtual-camera/CameraSpec.h"
#include "tests/desktop/virtual-camera/FrameLayout.h"

namespace virtual_camera {

/// The memory of one buffer that the camera allocates and shares by file descriptors.
class BufferMemory {
 public:
  /// Allocates and enters the memory into each block of `buffer`. Throws std::system_error.
  BufferMemory(spa_buffer& buffer, const FrameLayout& layout, const CameraSpec& spec);

 private:
  /// Shared memory, mapped.
  class Area {
   public:
    explicit Area(std::size_t size);
    ~Area();
    Area(const Area&) = delete;
    Area& operator=(const Area&) = delete;
    int descriptor() const { return descriptor_; }
    std::uint8_t* data() const { return data_; }

   private:
    int descriptor_;
    std::size_t size_;
    std::uint8_t* data_;
  };

  std::vector<std::unique_ptr<Area>> areas_;
};

}  // namespace virtual_camera
