#pragma once

#include <memory>
#include <utility>

#include "platform/AVFoundation/AVCapturePhotoOutput.h"
#include "platform/linux/photo/PictureData.h"

namespace platform_linux {

/// A still as the delegate gets it.
class CapturePhoto final : public platform::AVCapturePhoto {
 public:
  CapturePhoto(std::shared_ptr<const picture::Frame> frame, bool mirrored,
               std::shared_ptr<const EncodedPhoto> file = nullptr)
      : picture_(std::make_shared<PictureData>(std::move(frame), mirrored, std::move(file))) {}

  [[nodiscard]] std::shared_ptr<platform::NSData> fileDataRepresentation() const override { return picture_; }

 private:
  const std::shared_ptr<PictureData> picture_;
};

}  // namespace platform_linux
