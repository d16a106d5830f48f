#pragma once

#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace virtual_camera {

enum class PixelFormat { kMjpg, kYuy2, kNv12, kRgb, kBgrx };

/// One picture format that the camera offers, with its frame rates (whole frames a second, preferred first).
struct Mode {
  PixelFormat format = PixelFormat::kMjpg;
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  std::vector<std::uint32_t> rates;

  bool operator==(const Mode&) const = default;
};

/// Frames of one run of the stream, counted from 0; both ends belong to the range. Empty by default.
struct FrameRange {
  static constexpr std::uint64_t kForever = std::numeric_limits<std::uint64_t>::max();

  std::uint64_t first = kForever;
  std::uint64_t last = 0;

  bool contains(std::uint64_t frame) const { return frame >= first && frame <= last; }
  bool operator==(const FrameRange&) const = default;
};

/// What goes wrong, and from which frame of a run on.
struct Faults {
  std::optional<std::uint64_t> stall;   ///< delivers this many frames and falls silent
  std::optional<std::uint64_t> error;   ///< delivers this many frames and fails with EIO
  std::optional<std::uint64_t> unplug;  ///< delivers this many frames and leaves the registry
  std::optional<std::uint64_t> crash;   ///< delivers this many frames and ends the process at once
  FrameRange truncated;                 ///< MJPG frames cut to a third
  FrameRange corruptedFlag;             ///< whole frames that carry the "corrupted" flag
  FrameRange empty;                     ///< frames of no bytes
  bool busy = false;                    ///< refuses every format with EBUSY

  bool operator==(const Faults&) const = default;
};

enum class Colorimetry { kUnstated, kStated };

/// What the camera does when nobody uses it any more: stop at once, or run on until the session manager
/// suspends it (after five seconds), as PipeWire's own V4L2 cameras do.
enum class Idle { kPause, kRun };

/// Everything that tells one virtual camera from another.
struct CameraSpec {
  std::string name = "virtual-camera";   ///< `node.name`, the stable identity
  std::string title = "Virtual camera";  ///< `node.description`; none when empty
  std::vector<Mode> modes;
  std::vector<std::string> pictures;  ///< JPEG files served as they are, in turn, instead of the test picture
  std::uint32_t tint = 0xb0b0b0;      ///< background of the test picture, 0xRRGGBB
  int quality = 85;                   ///< JPEG quality of the test picture, 1 to 100
  int noise = 0;                      ///< largest change of a sample by noise, 0 to 127
  std::uint64_t warmup = 0;           ///< dark frames at the start of each run
  std::uint32_t startDelay = 0;       ///< milliseconds by which the first frame is later than a frame's time
  std::uint64_t drop = 0;             ///< every so many-th frame is lost; 0 loses none
  Colorimetry colorimetry = Colorimetry::kUnstated;
  Idle idle = Idle::kPause;
  std::string log;   ///< file that receives one line a frame; none when empty
  std::string dump;  ///< folder that receives the bytes of every frame; none when empty
  Faults faults;
};

/// The modes of a camera whose description names none: those of a common 1080p webcam.
std::vector<Mode> commonModes();

/// Reads `key=value,key=value…`, as README.md describes. Throws std::invalid_argument with a sentence for
/// people.
CameraSpec parseCameraSpec(std::string_view text);

/// "MJPG", "YUY2", "NV12", "RGB" or "BGRx".
std::string_view formatName(PixelFormat format);

}  // namespace virtual_camera
