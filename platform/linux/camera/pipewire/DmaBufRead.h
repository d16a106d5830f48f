#pragma once

#include <cstddef>
#include <cstdint>

#include <spa/buffer/buffer.h>

namespace platform_linux {

/// A block of a buffer that lies in a device's memory (DMA-BUF), while the processor reads it: the kernel is
/// told of the beginning and the end, which on many machines is what makes the bytes current. Of other blocks
/// it is the mapping that is there.
class DmaBufRead {
 public:
  explicit DmaBufRead(const spa_data& data);
  DmaBufRead(const DmaBufRead&) = delete;
  DmaBufRead& operator=(const DmaBufRead&) = delete;
  ~DmaBufRead();

  /// Where the block's `maxsize` bytes begin; none when it cannot be read.
  [[nodiscard]] const std::uint8_t* bytes() const { return bytes_; }

 private:
  void map(const spa_data& data);

  const std::uint8_t* bytes_ = nullptr;
  int descriptor_ = -1;      // of a DMA-BUF; the buffer's
  void* mapping_ = nullptr;  // where the library made none
  std::size_t mappedSize_ = 0;
};

}  // namespace platform_linux
