#pragma once

#include <memory>
#include <utility>

#include "picture/Frame.h"
#include "platform/Foundation/NSData.h"
#include "platform/linux/photo/EncodedPhoto.h"

namespace platform_linux {

/// A captured photo: the frame as the camera sent it, and whether it is mirrored. Keeping the frame, not a
/// re-encoded file, spares raw modes a lossy detour through JPEG.
class PictureData final : public platform::NSData {
 public:
  /// `frame` must be given; `file` may be: what has been made of it already, of use only if it is mirrored
  /// alike.
  PictureData(std::shared_ptr<const picture::Frame> frame, bool mirrored,
              std::shared_ptr<const EncodedPhoto> file = nullptr)
      : frame_(std::move(frame)),
        mirrored_(mirrored),
        file_(file && file->isMirrored == mirrored ? std::move(file) : nullptr) {}

  /// The frame as the camera sent it.
  [[nodiscard]] const picture::Frame& frame() const { return *frame_; }
  /// Whether the picture is to be shown and saved left-right mirrored.
  [[nodiscard]] bool mirrored() const { return mirrored_; }
  /// The photo's file where it has been made already, once: it is as large as all else together, and this may
  /// be kept for longer than until it is written. By the thread that makes bitmaps.
  [[nodiscard]] std::shared_ptr<const EncodedPhoto> takeFile() const { return std::exchange(file_, nullptr); }
  /// The camera's own bytes; a JPEG stream also says how it is to be shown and when it was taken.
  [[nodiscard]] bool writeToFile(const std::string& path, bool atomically) const override;

 private:
  const std::shared_ptr<const picture::Frame> frame_;
  const bool mirrored_;
  mutable std::shared_ptr<const EncodedPhoto> file_;
};

}  // namespace platform_linux
