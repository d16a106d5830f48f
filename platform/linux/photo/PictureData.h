#pragma once

#include <memory>
#include <utility>

#include "picture/Frame.h"
#include "platform/Foundation/NSData.h"

namespace platform_linux {

/// A captured photo: the frame as the camera sent it, and whether it is mirrored. Keeping the frame, not a
/// re-encoded file, spares raw modes a lossy detour through JPEG.
class PictureData final : public platform::NSData {
 public:
  /// `frame` must be given.
  PictureData(std::shared_ptr<const picture::Frame> frame, bool mirrored)
      : frame_(std::move(frame)), mirrored_(mirrored) {}

  /// The frame as the camera sent it.
  [[nodiscard]] const picture::Frame& frame() const { return *frame_; }
  /// Whether the picture is to be shown and saved left-right mirrored.
  [[nodiscard]] bool mirrored() const { return mirrored_; }
  /// The camera's own bytes; a JPEG stream also says how it is to be shown and when it was taken.
  [[nodiscard]] bool writeToFile(const std::string& path, bool atomically) const override;

 private:
  const std::shared_ptr<const picture::Frame> frame_;
  const bool mirrored_;
};

}  // namespace platform_linux
