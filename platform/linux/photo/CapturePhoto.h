#pragma once

#include <memory>
#include <utility>

#include "platform/AVFoundation/AVCapturePhotoOutput.h"
#include "platform/linux/photo/PictureData.h"

namespace platform_linux {

/// The picture of a photo: a frame and whether it is mirrored.
class CapturedPicture final : public PictureData {
 public:
  CapturedPicture(std::shared_ptr<const picture::Frame> frame, bool mirrored)
      : frame_(std::move(frame)), mirrored_(mirrored) {}

  const picture::Frame& frame() const override { return *frame_; }
  bool mirrored() const override { return mirrored_; }
  /// The camera's own bytes; a JPEG stream also says how it is to be shown and when it was taken.
  bool writeToFile(const std::string& path, bool atomically) const override;

 private:
  const std::shared_ptr<const picture::Frame> frame_;
  const bool mirrored_;
};

/// A still as the delegate gets it.
class CapturePhoto final : public platform::AVCapturePhoto {
 public:
  CapturePhoto(std::shared_ptr<const picture::Frame> frame, bool mirrored)
      : picture_(std::make_shared<CapturedPicture>(std::move(frame), mirrored)) {}

  std::shared_ptr<platform::NSData> fileDataRepresentation() const override { return picture_; }

 private:
  const std::shared_ptr<CapturedPicture> picture_;
};

}  // namespace platform_linux
