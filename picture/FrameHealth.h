#pragma once

#include <string>

#include "picture/Frame.h"

namespace picture {

/// What there is to see in a frame.
enum class FrameCondition {
  Whole,
  Damaged,      ///< It shows something, but pixels are lost: packets of it never arrived.
  NotAPicture,  ///< Nothing can be decoded.
};

struct FrameHealth {
  FrameCondition condition = FrameCondition::NotAPicture;
  double lostPart =
      1;               ///< of the picture, from 0 to 1: of two damaged frames the one with less is the better
  std::string whyNot;  ///< why it is not whole, in a few words for a log

  [[nodiscard]] bool isWhole() const noexcept { return condition == FrameCondition::Whole; }
};

/// Examines a frame: an uncompressed one must have all its bytes, and of a JPEG frame all codes are read,
/// which takes about a third of the time of decoding it. Allocates; not for the thread that moves buffers.
/// Thread-safe.
[[nodiscard]] FrameHealth examineFrame(const Frame& frame);

}  // namespace picture
