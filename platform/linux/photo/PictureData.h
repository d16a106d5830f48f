#pragma once

#include <chrono>
#include <memory>

#include "picture/Frame.h"
#include "platform/Foundation/NSData.h"

namespace platform_linux {

/// A captured photo: the camera's own bytes, with what was noted about them. Keeping the frame, not a
/// re-encoded file, spares raw modes a lossy detour through JPEG.
class PictureData : public platform::NSData {
 public:
  /// The frame as the camera sent it.
  virtual const picture::Frame& frame() const = 0;
  /// Whether the picture is to be shown and saved left-right mirrored.
  virtual bool mirrored() const = 0;
};

}  // namespace platform_linux
