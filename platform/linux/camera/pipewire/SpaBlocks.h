#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <span>

#include <spa/buffer/buffer.h>

#include "platform/linux/camera/FrameBuffer.h"
#include "platform/linux/camera/pipewire/DmaBufRead.h"

namespace platform_linux {

/// The filled parts of one of the daemon's buffers. Valid as long as the buffer is held and this object
/// lives.
class SpaBlocks {
 public:
  /// No blocks when the buffer is marked as corrupted. What the daemon states is not trusted to lie inside
  /// the memory.
  explicit SpaBlocks(const spa_buffer& buffer);

  SpaBlocks(const SpaBlocks&) = delete;
  SpaBlocks& operator=(const SpaBlocks&) = delete;
  ~SpaBlocks() = default;

  [[nodiscard]] std::span<const FrameBlock> blocks() const { return std::span(blocks_).first(count_); }

 private:
  /// No format has more planes.
  static constexpr std::size_t kMostBlocks = 4;

  std::array<std::optional<DmaBufRead>, kMostBlocks> reads_;
  std::array<FrameBlock, kMostBlocks> blocks_;
  std::size_t count_ = 0;
};

}  // namespace platform_linux
