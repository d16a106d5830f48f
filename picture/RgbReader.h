#pragma once

#include <array>
#include <cstdint>

#include "picture/PixelLayout.h"

namespace picture {

/// Reads rows of RGB and grey formats as R G B or, for a view, as B G R and opaque.
class RgbReader {
 public:
  /// `frame` must be of such a format.
  explicit RgbReader(const Frame& frame);

  /// One row as R G B R G B …
  void readRgb(const std::uint8_t* row, std::uint8_t* out) const noexcept;
  /// One row as B G R 255 …; of grey samples of more bits the upper eight count.
  void readBgra(const std::uint8_t* row, std::uint8_t* out) const noexcept;

 private:
  [[nodiscard]] std::array<std::uint8_t, 3> sharedWord(const std::uint8_t* at) const noexcept;
  [[nodiscard]] int deepLevel(const std::uint8_t* at) const noexcept;
  /// Of a deep sample, from the frame's range to the full one.
  [[nodiscard]] std::uint8_t fullDeepLevel(const std::uint8_t* at) const noexcept;
  void greyToRgb(const std::uint8_t* row, std::uint8_t* out) const noexcept;
  void wordsToRgb(const std::uint8_t* row, std::uint8_t* out) const noexcept;
  void wordsToBgra(const std::uint8_t* row, std::uint8_t* out) const noexcept;
  /// Red, green and blue of each pixel, `step` bytes apart, in the order of `places`.
  void deepTo(const std::uint8_t* row, std::uint8_t* out, int step, std::array<int, 3> places) const noexcept;
  void greyToBgra(const std::uint8_t* row, std::uint8_t* out) const noexcept;

  const PixelLayout& layout_;
  int width_;
  bool limited_;
  std::array<std::uint8_t, 256> levels_{};  // from the frame's range to the full one
  // Of components that share a word, from their few bits to eight, in the frame's range.
  std::array<std::array<std::uint8_t, 1024>, 3> fieldLevels_{};
};

}  // namespace picture
