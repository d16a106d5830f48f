#pragma once

#include <memory>
#include <string>
#include <vector>

#include "picture/RawPicture.h"
#include "picture/RowSource.h"
#include "picture/YuvRow.h"

namespace picture {

/// The rows of an uncompressed picture.
class RawRowSource final : public RowSource {
 public:
  /// Null when the size is not acceptable or a plane is too small for it, and `failure` then says which. The
  /// picture's bytes must outlive the source.
  [[nodiscard]] static std::unique_ptr<RawRowSource> open(const RawPicture& picture, std::string& failure);

  [[nodiscard]] std::uint32_t width() const noexcept override { return picture_.width; }
  [[nodiscard]] std::uint32_t height() const noexcept override { return picture_.height; }
  [[nodiscard]] bool readRows(std::span<std::uint8_t> rows) noexcept override;
  /// Nothing can fail once the picture is open.
  [[nodiscard]] std::string failure() const override { return {}; }

 private:
  using Row = std::vector<std::uint8_t>;

  explicit RawRowSource(const RawPicture& picture);

  void readRow(std::uint32_t y, std::uint8_t* out) noexcept;
  void readRgbRow(const std::uint8_t* row, std::uint8_t* out) const noexcept;
  void convertYuvRow(std::uint32_t y, std::uint8_t* out) noexcept;
  const std::uint8_t* splitPackedRow(std::uint32_t y) noexcept;
  void blendPlanarChroma(std::uint32_t y) noexcept;
  void fetchChroma(std::uint32_t chromaRow, Row& blue, Row& red) const noexcept;
  [[nodiscard]] const std::uint8_t* planeRow(std::size_t plane, std::uint32_t row) const noexcept;

  RawPicture picture_;
  YuvMatrix matrix_;
  std::uint32_t nextRow_ = 0;
  // Rows in between, at the width of luma or of chroma; empty for RGB layouts.
  Row luma_;
  Row halfBlue_, halfRed_, farBlue_, farRed_;
  Row blueChroma_, redChroma_;
  Row red_, green_, blue_;
  Row unmirrored_;  // empty when nothing is to be mirrored
};

}  // namespace picture
