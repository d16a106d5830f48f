#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "picture/Orientation.h"

namespace picture {

/// The few Exif fields that a photo of ours carries: how it is to be turned and when it was taken.
class ExifBlock {
 public:
  std::optional<Orientation> orientation;
  /// Kept to the millisecond.
  std::optional<std::chrono::system_clock::time_point> captureTime;

  /// The block as a TIFF structure, without the "Exif" signature that precedes it in a JPEG segment. The
  /// capture time is written as this machine's local time, with its offset from UTC.
  [[nodiscard]] std::vector<std::uint8_t> bytes() const;

  /// Reads a TIFF structure of either byte order. Fields that are missing, damaged or outside of what is
  /// represented here stay unset; nothing when it is no TIFF structure at all. A time without an offset
  /// is taken as this machine's local time.
  [[nodiscard]] static std::optional<ExifBlock> parse(std::span<const std::uint8_t> tiff);
};

}  // namespace picture
