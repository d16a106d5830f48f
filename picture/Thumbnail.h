#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "picture/PixelSize.h"
#include "picture/RowSource.h"

namespace picture {

/// A small copy of a picture: R G B R G B …, rows without padding.
struct Thumbnail {
  PixelSize size;
  std::vector<std::uint8_t> pixels;

  bool operator==(const Thumbnail&) const = default;
};

/// The rows of another source, of which a small copy is made while they pass. Each of its pixels is the mean
/// of a few of those that it stands for, so that it takes well under a millisecond in all.
class ThumbnailRows final : public RowSource {
 public:
  /// `source` outlives this and has delivered nothing yet. The copy has at most `side` pixels each way.
  ThumbnailRows(RowSource& source, int side);

  [[nodiscard]] std::uint32_t width() const noexcept override { return source_.width(); }
  [[nodiscard]] std::uint32_t height() const noexcept override { return source_.height(); }
  bool readRows(std::span<std::uint8_t> rows) noexcept override;
  [[nodiscard]] bool canReadAhead() const noexcept override { return source_.canReadAhead(); }
  void readAhead() noexcept override { source_.readAhead(); }
  [[nodiscard]] std::string failure() const override { return source_.failure(); }

  /// Once all rows have passed. Empty where there was no memory for it.
  Thumbnail take();

 private:
  void add(std::span<const std::uint8_t> row) noexcept;

  RowSource& source_;
  /// How many pixels of the source one of the copy's stands for, each way.
  const std::uint32_t scale_;
  std::uint32_t nextRow_ = 0;
  Thumbnail thumbnail_;
  std::vector<std::uint16_t> sums_;  ///< of the copy's row that is being made
};

}  // namespace picture
