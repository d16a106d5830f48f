#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "picture/PixelSize.h"

namespace picture {

/// The rows of a picture that is being decoded, four bytes a pixel. They are mirrored, if at all, a strip at
/// a time, while they still lie in the processor's cache.
class PixelRows {
 public:
  /// The rows of one strip at most. Even, because two rows share their colour in 4:2:0 formats.
  static constexpr int kStripRows = 16;

  /// `pixels` is where the picture of that size goes; it must have room for it and outlive this object.
  PixelRows(std::span<std::uint8_t> pixels, PixelSize size, bool mirrored);

  [[nodiscard]] PixelSize size() const { return size_; }
  /// Bytes from a row to the next, in strips too.
  [[nodiscard]] int stride() const { return size_.width * 4; }

  /// Where the decoder writes up to kStripRows rows, unmirrored, from `firstRow` on.
  std::uint8_t* strip(int firstRow) { return strip_.empty() ? place(firstRow) : strip_.data(); }
  /// `rows` rows have been written to strip(firstRow).
  void written(int firstRow, int rows);

 private:
  std::uint8_t* place(int row) { return pixels_.data() + static_cast<std::ptrdiff_t>(row) * stride(); }

  std::span<std::uint8_t> pixels_;
  PixelSize size_;
  std::vector<std::uint8_t> strip_;  ///< empty when nothing is mirrored: the decoder writes in place
};

}  // namespace picture
