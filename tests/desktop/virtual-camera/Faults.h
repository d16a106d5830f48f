#pragma once

#include <cstdint>
#include <limits>
#include <optional>
#include <string>

namespace virtual_camera {

/// Frames of one run of the stream, counted from 0; both ends belong to the range. Empty by default.
struct FrameRange {
  static constexpr std::uint64_t kForever = std::numeric_limits<std::uint64_t>::max();

  std::uint64_t first = kForever;
  std::uint64_t last = 0;

  bool contains(std::uint64_t frame) const { return frame >= first && frame <= last; }
  bool operator==(const FrameRange&) const = default;
};

/// Of so many frames the first ones. None by default.
struct FrameShare {
  std::uint64_t part = 0;
  std::uint64_t whole = 1;

  bool contains(std::uint64_t frame) const { return frame % whole < part; }
  bool operator==(const FrameShare&) const = default;
};

/// What goes wrong, and from which frame of a run on.
struct Faults {
  std::optional<std::uint64_t> stall;       ///< delivers this many frames and stalls
  std::optional<std::uint64_t> stallOnce;   ///< likewise in its first run; the next one goes well
  std::optional<std::uint64_t> silentFrom;  ///< delivers nothing in modes that are as wide, in pixels
  std::optional<std::uint64_t> error;       ///< delivers this many frames and fails with EIO
  std::optional<std::uint64_t> unplug;      ///< delivers this many frames and leaves the registry
  std::optional<std::uint64_t> crash;       ///< delivers this many frames and ends the process at once
  std::optional<std::uint64_t> suspend;     ///< delivers this many frames and suspends its node, as when the
                                            ///< system sleeps; a user of it starts it again
  FrameRange truncated;                     ///< MJPG frames cut to a third
  FrameShare damaged;                       ///< MJPG frames whose scan lacks a part
  FrameRange corruptedFlag;                 ///< whole frames that carry the "corrupted" flag
  FrameRange empty;                         ///< frames of no bytes
  FrameRange black;                         ///< black frames
  FrameRange offsetPastEnd;                 ///< frames said to begin behind their buffer's end
  FrameRange timeBackwards;                 ///< frames whose time stamps run backwards
  bool noStride = false;                    ///< no stride is told with a frame
  bool negativeStride = false;              ///< the stride is told as a negative number
  bool withoutMemory = false;               ///< the first user gets buffers that have no memory
  bool noBuffers = false;                   ///< takes no memory that anybody offers
  bool busy = false;                        ///< refuses every format with EBUSY
  bool tellsBusy = false;                   ///< refuses the start instead, and has the program told
  std::optional<std::uint64_t>
      busyFor;  ///< milliseconds from the first refusal until it is free, and plugged again

  bool operator==(const Faults&) const = default;
};

/// Reads one fault, `KIND:WHEN`. Throws std::invalid_argument.
void parseFault(const std::string& text, Faults& faults);

}  // namespace virtual_camera
