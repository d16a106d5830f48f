#include "platform/linux/camera/pipewire/SpaBlocks.h"

#include <algorithm>

#include <spa/buffer/meta.h>

namespace platform_linux {
namespace {

FrameBlock filledPart(const spa_data& data, const std::uint8_t* memory) {
  if (!memory || !data.chunk) return {};
  const std::uint32_t offset = std::min(data.chunk->offset, data.maxsize);
  const std::uint32_t size = std::min(data.chunk->size, data.maxsize - offset);
  const std::int32_t stride = data.chunk->stride;
  return {{memory + offset, size}, stride > 0 ? static_cast<std::size_t>(stride) : 0};
}

bool isMarkedCorrupted(const spa_buffer& buffer) {
  const auto* header = static_cast<const spa_meta_header*>(
      spa_buffer_find_meta_data(&buffer, SPA_META_Header, sizeof(spa_meta_header)));
  if (header && (header->flags & SPA_META_HEADER_FLAG_CORRUPTED)) return true;
  return std::any_of(buffer.datas, buffer.datas + buffer.n_datas, [](const spa_data& data) {
    return data.chunk && (data.chunk->flags & SPA_CHUNK_FLAG_CORRUPTED);
  });
}

}  // namespace

SpaBlocks::SpaBlocks(const spa_buffer& buffer) {
  if (isMarkedCorrupted(buffer)) return;
  count_ = std::min<std::size_t>(buffer.n_datas, kMostBlocks);
  for (std::size_t i = 0; i < count_; ++i)
    blocks_[i] = filledPart(buffer.datas[i], reads_[i].emplace(buffer.datas[i]).bytes());
}

}  // namespace platform_linux
