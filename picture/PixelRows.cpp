#include "picture/PixelRows.h"

#include <libyuv.h>

namespace picture {

PixelRows::PixelRows(std::span<std::uint8_t> pixels, PixelSize size, bool mirrored)
    : pixels_(pixels), size_(size), strip_(mirrored ? static_cast<std::size_t>(stride()) * kStripRows : 0) {}

void PixelRows::written(int firstRow, int rows) {
  if (strip_.empty()) return;
  libyuv::ARGBMirror(strip_.data(), stride(), place(firstRow), stride(), size_.width, rows);
}

}  // namespace picture
