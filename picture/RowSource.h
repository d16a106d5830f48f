#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "picture/PixelSize.h"

namespace picture {

/// Bytes of one RGB pixel, 8 bits a channel.
inline constexpr std::size_t kBytesPerPixel = 3;

/// A picture of 8-bit RGB pixels that is delivered once, row by row from the top.
/// One call at a time, but for reading ahead; the calls may come from different threads.
class RowSource {
 public:
  RowSource() = default;
  RowSource(const RowSource&) = delete;
  RowSource& operator=(const RowSource&) = delete;
  virtual ~RowSource() = default;

  /// Pixels in a row; constant over the life of the source.
  [[nodiscard]] virtual std::uint32_t width() const noexcept = 0;
  /// Rows in the picture; constant over the life of the source.
  [[nodiscard]] virtual std::uint32_t height() const noexcept = 0;
  /// Fills `rows` with the next rows, R G B R G B …, without padding between rows. Its size is a whole number
  /// of rows, at most the number still to come. False on failure, after which the source is of no more use.
  [[nodiscard]] virtual bool readRows(std::span<std::uint8_t> rows) noexcept = 0;
  /// Whether there is work to do for rows behind the next ones. Thread-safe, as the next one: also while rows
  /// are read.
  [[nodiscard]] virtual bool canReadAhead() const noexcept { return false; }
  /// Does a part of that work, if there still is any, for a thread that would wait for rows otherwise.
  virtual void readAhead() noexcept {}
  /// Why reading failed, for a log; empty as long as it did not.
  [[nodiscard]] virtual std::string failure() const = 0;

  /// Bytes in a row as delivered.
  [[nodiscard]] std::size_t rowBytes() const noexcept { return width() * kBytesPerPixel; }
};

}  // namespace picture
