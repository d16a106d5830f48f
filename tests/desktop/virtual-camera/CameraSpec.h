#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tests/desktop/virtual-camera/Colorimetry.h"
#include "tests/desktop/virtual-camera/Faults.h"
#include "tests/desktop/virtual-camera/JpegStyle.h"
#include "tests/desktop/virtual-camera/Mode.h"
#include "tests/desktop/virtual-camera/Transform.h"

namespace virtual_camera {

/// What the camera does when nobody uses it any more: stop at once, or run on until the session manager
/// suspends it (after five seconds), as PipeWire's own V4L2 cameras do.
enum class Idle { kPause, kRun };

/// Which kind of memory the buffers are.
enum class Memory {
  kAny,  ///< PipeWire's choice of the next two
  kMemFd,
  kMemPtr,
  kDmaBuf,  ///< told as such; the camera's own shared memory where the machine has none
};

/// How the planes of a frame lie in a buffer.
enum class Blocks {
  kOne,     ///< one behind the other in one block
  kEach,    ///< each plane is a block with memory of its own
  kShared,  ///< each plane is a block, all in one memory, at their offsets
};

using Properties = std::vector<std::pair<std::string, std::string>>;

/// Everything that tells one virtual camera from another.
struct CameraSpec {
  std::string name = "virtual-camera";   ///< `node.name`, the stable identity
  std::string title = "Virtual camera";  ///< `node.description` and `node.nick`; none when empty
  Properties properties;                 ///< more of the node, or other ones; an empty value takes one away
  std::string device;  ///< `device.name` of a device to which the node belongs; none when empty
  Properties deviceProperties;
  std::uint32_t nodeDelay = 0;  ///< milliseconds by which the node is later than its device
  std::vector<Mode> modes;
  bool withoutModes = false;          ///< the node tells of no format at all
  std::vector<std::string> pictures;  ///< JPEG files served as they are, in turn, instead of the test picture
  std::uint32_t tint = 0xb0b0b0;      ///< background of the test picture, 0xRRGGBB
  int noise = 0;                      ///< largest change of a sample by noise, 0 to 127
  JpegStyle jpeg;
  Colorimetry colorimetry;
  std::size_t padding = 0;  ///< bytes at the end of each row of raw pictures
  Memory memory = Memory::kAny;
  Blocks blocks = Blocks::kOne;
  std::optional<int> buffers;  ///< exactly so many, whoever asks
  std::size_t lead = 0;        ///< bytes in a block before its picture
  Transform transform = Transform::kNone;
  bool transformStated = false;
  std::uint64_t warmup = 0;      ///< dark frames at the start of each run
  std::uint32_t exposure = 0;    ///< milliseconds during which a run's frames get brighter, one by one
  std::uint32_t startDelay = 0;  ///< milliseconds by which the first frame is later than a frame's time
  std::uint64_t drop = 0;        ///< every so many-th frame is lost; 0 loses none
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

}  // namespace virtual_camera
