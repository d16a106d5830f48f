#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <span>
#include <tuple>
#include <vector>

#include "tests/desktop/virtual-camera/CameraSpec.h"
#include "tests/desktop/virtual-camera/FrameEncoder.h"

namespace virtual_camera {

/// The frames of one mode, made beforehand so that delivering one is a copy.
class PreparedFrames {
 public:
  /// `frames` are given out in turn; `dark` (may be empty) stands for all frames of the warm-up.
  PreparedFrames(const FrameLayout& layout, std::vector<Bytes> frames, Bytes dark);

  const FrameLayout& layout() const { return layout_; }

  /// Writes frame number `sequence` and returns its size, cut to the room there is.
  std::size_t write(std::uint64_t sequence, bool dark, std::span<std::uint8_t> room) const;

 private:
  FrameLayout layout_;
  std::vector<Bytes> frames_;
  Bytes dark_;
};

/// Makes each mode's frames when the mode is first asked for and keeps them, so that later starts cost
/// nothing.
class FrameStore {
 public:
  /// Loads the description's pictures, if it names some, and completes `spec.modes` by their size.
  /// Throws std::runtime_error for a picture that cannot be served.
  explicit FrameStore(CameraSpec& spec);

  const PreparedFrames& prepare(PixelFormat format, std::uint32_t width, std::uint32_t height);

 private:
  PreparedFrames make(PixelFormat format, std::uint32_t width, std::uint32_t height) const;

  const CameraSpec& spec_;
  std::vector<Bytes> pictures_;
  std::map<std::tuple<PixelFormat, std::uint32_t, std::uint32_t>, PreparedFrames> prepared_;
};

}  // namespace virtual_camera
