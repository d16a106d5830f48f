#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace picture {

/// Where decoding can begin within a JPEG stream whose restart markers are all there and in order: behind a
/// marker nothing depends on the codes before it (ITU-T T.81, E.1.4). A step is the fewest whole rows of
/// blocks (MCU) that begin and end at a marker.
struct JpegRestarts {
  std::size_t headerBytes = 0;      ///< up to and including the start of the scan
  std::size_t heightAt = 0;         ///< where the height stands in there, two bytes
  std::uint32_t width = 0;          ///< pixels
  std::uint32_t height = 0;         ///< pixels
  std::uint32_t rowsPerStep = 0;    ///< pixels
  std::uint32_t rowsPerBlock = 0;   ///< pixels
  bool hasSharedColorRows = false;  ///< whether rows of pixels share colours, so that pixels depend on the
                                    ///< rows of blocks above and below
  unsigned intervalsPerStep = 0;
  std::vector<std::size_t> steps;  ///< where each step's codes begin

  /// The number, 0 to 7, of the first marker behind the beginning of `step`.
  [[nodiscard]] unsigned markerOf(std::size_t step) const noexcept { return step * intervalsPerStep % 8; }
};

/// Nothing for streams that have no such markers, or too few of them, or fewer or others than they state, or
/// several scans, or other components than luma alone or with two of colour.
[[nodiscard]] std::optional<JpegRestarts> restartsOf(std::span<const std::uint8_t> jpeg);

/// The stream's header for a picture of what is left of it from `step` on.
[[nodiscard]] std::vector<std::uint8_t> headerFrom(std::size_t step, std::span<const std::uint8_t> jpeg,
                                                   const JpegRestarts& restarts);

}  // namespace picture
