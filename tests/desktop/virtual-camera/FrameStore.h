#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <span>
#include <tuple>
#include <vector>

#include "tests/desktop/virtual-camera/CameraSpec.h"
#include "tests/desktop/virtual-camera/FrameLayout.h"
#include "tests/desktop/virtual-camera/TestPicture.h"

namespace virtual_camera {

/// Parts of the light that a picture is meant to have.
constexpr std::uint8_t kFullLight = 255;
constexpr std::uint8_t kDark = kFullLight / 6;

/// The frames of one mode. Those in full light are made beforehand, so that delivering one is a copy.
class PreparedFrames {
 public:
  /// Frames of the test picture.
  PreparedFrames(const CameraSpec& spec, const FrameLayout& layout);
  /// `frames` are given out in turn.
  PreparedFrames(const CameraSpec& spec, const FrameLayout& layout, std::vector<Bytes> frames);

  const FrameLayout& layout() const { return layout_; }

  /// Writes frame number `sequence` and returns its size, cut to the room there is.
  std::size_t write(std::uint64_t sequence, std::uint8_t light, std::span<std::uint8_t> room);

 private:
  Bytes encode(const RgbPicture& picture) const;
  const Bytes& frame(std::uint64_t sequence, std::uint8_t light);

  const CameraSpec& spec_;
  FrameLayout layout_;
  RgbPicture picture_;
  std::vector<Bytes> frames_;
  std::map<std::uint8_t, Bytes> darker_;  ///< frames in less light, made when they are due
};

/// Makes each mode's frames when the mode is first asked for and keeps them, so that later starts cost
/// nothing.
class FrameStore {
 public:
  /// Loads the description's pictures, if it names some, and completes `spec.modes` by their size.
  /// Throws std::runtime_error for a picture that cannot be served.
  explicit FrameStore(CameraSpec& spec);

  PreparedFrames& prepare(PixelFormat format, std::uint32_t width, std::uint32_t height);

 private:
  PreparedFrames make(PixelFormat format, std::uint32_t width, std::uint32_t height) const;

  const CameraSpec& spec_;
  std::vector<Bytes> pictures_;
  std::map<std::tuple<PixelFormat, std::uint32_t, std::uint32_t>, PreparedFrames> prepared_;
};

}  // namespace virtual_camera
