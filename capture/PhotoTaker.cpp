#include "capture/PhotoTaker.h"

#include <cstdint>
#include <utility>

namespace camera_shot {

std::shared_ptr<PhotoTaker> PhotoTaker::make(const platform::Platform& platform, suite::Suite& suite,
                                             const std::shared_ptr<platform::AVCaptureDevice>& device,
                                             OnSuccess onSuccess, OnError onError) {
  std::shared_ptr<PhotoTaker> taker(
      new PhotoTaker(platform, suite, std::move(onSuccess), std::move(onError)));
  taker->build(device);
  return taker;
}

PhotoTaker::PhotoTaker(const platform::Platform& platform, suite::Suite& suite, OnSuccess onSuccess,
                       OnError onError)
    : platform_(platform), suite_(suite), onSuccess_(std::move(onSuccess)), onError_(std::move(onError)) {}

void PhotoTaker::build(const std::shared_ptr<platform::AVCaptureDevice>& device) {
  auto& avFoundation = platform_.avFoundation;
  // Not looked at on purpose: a session without a camera fails its captures, and they say why.
  std::optional<platform::NSError> ignored;
  auto input = avFoundation.deviceInputWithDevice(device, ignored);

  const auto session = avFoundation.session();
  session_ = session;
  session->setSessionPreset(platform::AVCaptureSessionPresetHigh);
  session->addInput(std::move(input));
  photoOutput_ = avFoundation.photoOutput();
  session->addOutput(photoOutput_);
  layer_ = avFoundation.previewLayerWithSession(session);
  findVideoConnection();
}

void PhotoTaker::findVideoConnection() {
  const auto output = photoOutput_.load();
  for (const auto& connection : output->connections()) {
    for (const auto& port : connection->inputPorts()) {
      if (port.mediaType == platform::AVMediaTypeVideo) {
        videoConnection_ = connection;
        return;
      }
    }
  }
}

void PhotoTaker::take() {
  // Every shot is first tried mirrored, the way the preview shows the picture.
  const auto connection = videoConnection_.load();
  if (connection && connection->isVideoMirroringSupported()) {
    connection->setAutomaticallyAdjustsVideoMirroring(false);
    connection->setVideoMirrored(true);
  }
  requestCapture();
}

void PhotoTaker::requestCapture() {
  const auto settings = platform::AVCapturePhotoSettings::photoSettingsWithFormat(
      {{platform::AVVideoCodecKey, platform::AVVideoCodecTypeJPEG}});
  photoOutput_.load()->capturePhotoWithSettings(settings, shared_from_this());
}

void PhotoTaker::captureOutputDidFinishProcessingPhoto(platform::AVCapturePhotoOutput&,
                                                       std::shared_ptr<platform::AVCapturePhoto> photo,
                                                       const std::optional<platform::NSError>& error) {
  if (error) {
    captureFailed(*error);
    return;
  }
  const auto folder = suite_.locationManager.locationForCurrentTool();
  if (!folder) {
    platform_.application.terminate();
    return;
  }
  save(*photo, *folder);
}

void PhotoTaker::captureFailed(const platform::NSError& error) {
  const auto connection = videoConnection_.load();
  if (connection && connection->isVideoMirroringSupported() && connection->isVideoMirrored()) {
    // A camera that fails only mirrored captures gets one more try. The retry's own failure finds mirroring
    // off.
    connection->setVideoMirrored(false);
    requestCapture();
    return;
  }
  // The wording, the name in it and the blank at its end are what the suite's log readers look for.
  suite_.log.VQLogVariadic("Error while captureStillImageAsynchronouslyFromConnection. code = %d. ",
                           {static_cast<std::int32_t>(error.code)});
  platform_.mainQueue.sync([self = shared_from_this()] { self->shotFailed(); });
}

}  // namespace camera_shot
