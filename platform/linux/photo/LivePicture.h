#pragma once

#include <functional>
#include <memory>

#include "picture/Frame.h"

namespace platform_linux {

/// A picture that changes by itself: what a camera session shows.
class LivePicture {
 public:
  virtual ~LivePicture() = default;

  /// From now on calls `onFrame` after each new frame, and when `error` changes, on a thread of the camera;
  /// it must not wait. None stops that and forgets the newest frame, and once this returns the old one runs
  /// no more. Frames are copied out of the camera's buffers only while there is somebody to tell or a still
  /// to take. Main thread only.
  virtual void setFrameListener(std::function<void()> onFrame) = 0;

  /// The newest whole frame, or nothing while there is none. Thread-safe.
  [[nodiscard]] virtual std::shared_ptr<const picture::Frame> latestFrame() const = 0;

  /// Why no picture comes, as an `errno`: EBUSY when another program has the camera. 0 while pictures come or
  /// may still come. Thread-safe.
  [[nodiscard]] virtual int error() const = 0;

  /// Whether the picture is shown left-right mirrored. Thread-safe.
  [[nodiscard]] virtual bool mirrored() const = 0;
};

}  // namespace platform_linux
