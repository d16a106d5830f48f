#pragma once

#include <memory>
#include <vector>

#include "picture/Orientation.h"
#include "picture/RowSource.h"

namespace picture {

/// The rows of another source as the picture is seen. Mirroring works row by row; a picture that is turned is
/// held as a whole, once its first row is asked for.
class OrientedRowSource final : public RowSource {
 public:
  OrientedRowSource(std::unique_ptr<RowSource> stored, Orientation orientation);

  [[nodiscard]] std::uint32_t width() const noexcept override;
  [[nodiscard]] std::uint32_t height() const noexcept override;
  [[nodiscard]] bool readRows(std::span<std::uint8_t> rows) noexcept override;
  [[nodiscard]] bool canReadAhead() const noexcept override { return stored_->canReadAhead(); }
  void readAhead() noexcept override { stored_->readAhead(); }
  [[nodiscard]] std::string failure() const override;

 private:
  [[nodiscard]] bool readMirrored(std::span<std::uint8_t> rows) noexcept;
  [[nodiscard]] bool readWhole() noexcept;
  void turn(std::span<const std::uint8_t> strip, std::uint32_t firstRow) noexcept;

  const std::unique_ptr<RowSource> stored_;
  const Orientation orientation_;
  std::vector<std::uint8_t> row_;    // as stored, before it is mirrored
  std::vector<std::uint8_t> whole_;  // turned; empty until it is needed
  std::uint32_t nextRow_ = 0;
  bool isOutOfMemory_ = false;
};

/// `stored`, behind an OrientedRowSource if there is anything to do.
[[nodiscard]] std::unique_ptr<RowSource> oriented(std::unique_ptr<RowSource> stored, Orientation orientation);

}  // namespace picture
