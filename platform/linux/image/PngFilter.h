#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace platform_linux {

/// The row filters of PNG that are used here, by their number in the file (PNG specification, section 9).
enum class PngFilter : std::uint8_t { kNone = 0, kUp = 2, kPaeth = 4 };

/// Filters one row of RGB pixels: the filter's number, then `row.size()` residuals, go to `out`. `previous`
/// is the row above, of the same size; all zero for the first row of a picture.
void filterRow(PngFilter filter, std::span<const std::uint8_t> row, const std::uint8_t* previous,
               std::uint8_t* out) noexcept;

}  // namespace platform_linux
