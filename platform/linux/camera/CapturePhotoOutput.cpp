#include "platform/linux/camera/CapturePhotoOutput.h"

#include <cerrno>
#include <system_error>
#include <utility>

#include "platform/linux/photo/CapturePhoto.h"

namespace platform_linux {

void CapturePhotoOutput::attach(std::shared_ptr<CaptureFlow> flow) {
  const std::scoped_lock lock(mutex_);
  flow_ = std::move(flow);
}

std::shared_ptr<CaptureFlow> CapturePhotoOutput::flow() const {
  const std::scoped_lock lock(mutex_);
  return flow_;
}

std::vector<std::shared_ptr<platform::AVCaptureConnection>> CapturePhotoOutput::connections() const {
  const auto session = flow();
  if (!session || !session->hasCamera()) return {};
  return {connection_};
}

void CapturePhotoOutput::capturePhotoWithSettings(
    const platform::AVCapturePhotoSettings&,
    std::shared_ptr<platform::AVCapturePhotoCaptureDelegate> delegate) {
  // The delegate is moved on, not copied: the camera's thread must not be the one that lets it go.
  auto answer = [self = shared_from_this(), delegate = std::move(delegate)](const StillPicture& picture,
                                                                            int error) mutable {
    self->deliver(std::move(delegate), picture, error);
  };
  if (const auto session = flow())
    session->requestStill(std::move(answer), connection_->isVideoMirrored());
  else
    answer({}, ENOTCONN);
}

void CapturePhotoOutput::deliver(std::shared_ptr<platform::AVCapturePhotoCaptureDelegate> delegate,
                                 const StillPicture& picture, int error) {
  std::shared_ptr<platform::AVCapturePhoto> photo;
  std::optional<platform::NSError> failure;
  if (picture.frame)
    photo = std::make_shared<CapturePhoto>(picture.frame, connection_->isVideoMirrored(), picture.file);
  else
    failure = platform::NSError{error, std::generic_category().message(error)};
  const auto session = flow();
  service_->worker().deliver(
      [self = shared_from_this(), delegate = std::move(delegate), photo = std::move(photo), failure] {
        delegate->captureOutputDidFinishProcessingPhoto(*self, photo, failure);
      },
      session && session->isWatched());
}

}  // namespace platform_linux
