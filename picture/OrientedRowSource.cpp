#include "picture/OrientedRowSource.h"

#include <algorithm>
#include <new>
#include <utility>

#include <libyuv.h>

namespace picture {
namespace {

constexpr std::uint32_t kStripRows = 16;

}  // namespace

OrientedRowSource::OrientedRowSource(std::unique_ptr<RowSource> stored, Orientation orientation)
    : stored_(std::move(stored)), orientation_(orientation) {
  if (orientation_.isMirrored) row_.resize(stored_->rowBytes());
}

std::uint32_t OrientedRowSource::width() const noexcept {
  return orientation_.swapsSides() ? stored_->height() : stored_->width();
}

std::uint32_t OrientedRowSource::height() const noexcept {
  return orientation_.swapsSides() ? stored_->width() : stored_->height();
}

std::string OrientedRowSource::failure() const {
  return isOutOfMemory_ ? "Out of memory" : stored_->failure();
}

bool OrientedRowSource::readRows(std::span<std::uint8_t> rows) noexcept {
  if (orientation_.quarterTurns == 0) return readMirrored(rows);
  if (whole_.empty() && !readWhole()) return false;
  const std::size_t begin = nextRow_ * rowBytes();
  std::copy_n(whole_.data() + begin, rows.size(), rows.data());
  nextRow_ += static_cast<std::uint32_t>(rows.size() / rowBytes());
  return true;
}

bool OrientedRowSource::readMirrored(std::span<std::uint8_t> rows) noexcept {
  if (!orientation_.isMirrored) return stored_->readRows(rows);
  const auto pixels = static_cast<int>(stored_->width());
  for (; !rows.empty(); rows = rows.subspan(row_.size())) {
    if (!stored_->readRows(row_)) return false;
    libyuv::RGB24Mirror(row_.data(), 0, rows.data(), 0, pixels, 1);
  }
  return true;
}

bool OrientedRowSource::readWhole() noexcept {
  const std::size_t storedBytes = stored_->rowBytes();
  std::vector<std::uint8_t> strip;
  try {
    strip.resize(storedBytes * kStripRows);
    whole_.resize(storedBytes * stored_->height());
  } catch (const std::bad_alloc&) {
    isOutOfMemory_ = true;
    whole_.clear();
    return false;
  }
  for (std::uint32_t row = 0; row < stored_->height(); row += kStripRows) {
    const std::span rows(strip.data(), storedBytes * std::min(kStripRows, stored_->height() - row));
    if (!readMirrored(rows)) {
      whole_.clear();
      return false;
    }
    turn(rows, row);
  }
  return true;
}

// Column by column of the strip, so that the pixels of a column, neighbours in a row of a turned picture, are
// written together.
void OrientedRowSource::turn(std::span<const std::uint8_t> strip, std::uint32_t firstRow) noexcept {
  const std::size_t storedBytes = stored_->rowBytes();
  const std::size_t rows = strip.size() / storedBytes;
  const std::size_t lastColumn = stored_->width() - 1;
  const std::size_t lastRow = stored_->height() - 1;
  for (std::size_t x = 0; x <= lastColumn; ++x) {
    for (std::size_t i = 0; i < rows; ++i) {
      const std::size_t y = firstRow + i;
      const std::size_t row = orientation_.quarterTurns == 1   ? x
                              : orientation_.quarterTurns == 2 ? lastRow - y
                                                               : lastColumn - x;
      const std::size_t column = orientation_.quarterTurns == 1   ? lastRow - y
                                 : orientation_.quarterTurns == 2 ? lastColumn - x
                                                                  : y;
      std::copy_n(strip.data() + i * storedBytes + x * kBytesPerPixel, kBytesPerPixel,
                  whole_.data() + row * rowBytes() + column * kBytesPerPixel);
    }
  }
}

std::unique_ptr<RowSource> oriented(std::unique_ptr<RowSource> stored, Orientation orientation) {
  if (!stored || orientation == Orientation{}) return stored;
  return std::make_unique<OrientedRowSource>(std::move(stored), orientation);
}

}  // namespace picture
