#pragma once

#include <cstdint>

#include "picture/Frame.h"
#include "picture/PixelSize.h"

namespace picture {

/// How stored pixels become the picture as seen: mirrored left to right, if at all, then turned clockwise by
/// quarters. Every combination of turns and mirrorings is one of these eight.
struct Orientation {
  bool isMirrored = false;
  int quarterTurns = 0;  ///< 0 to 3, clockwise

  static const Orientation kUpright;
  static const Orientation kMirrored;

  bool operator==(const Orientation&) const = default;

  /// The picture as this makes it, then mirrored left to right.
  [[nodiscard]] constexpr Orientation thenMirrored() const noexcept {
    return {!isMirrored, (4 - quarterTurns) % 4};
  }
  [[nodiscard]] constexpr bool swapsSides() const noexcept { return quarterTurns % 2 != 0; }
  [[nodiscard]] constexpr PixelSize sizeOf(PixelSize stored) const noexcept {
    return swapsSides() ? PixelSize{stored.height, stored.width} : stored;
  }
};

inline constexpr Orientation Orientation::kUpright{};
inline constexpr Orientation Orientation::kMirrored{true, 0};

/// What undoes `transform`. A flipped picture was mirrored before it was turned, so that the same undoes it.
[[nodiscard]] constexpr Orientation undoing(Transform transform) noexcept {
  const int value = static_cast<int>(transform);
  const int turns = value % 4;
  return value < 4 ? Orientation{false, turns} : Orientation{true, (4 - turns) % 4};
}

}  // namespace picture
