#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "platform/Platform.h"
#include "suite/Suite.h"

namespace camera_shot {

/// Everything that touches the camera: one capture session on one camera, its still-photo output and its
/// live-preview layer. A change of camera is served by a new photo taker. Destruction does not stop the
/// session first.
///
/// Main thread, except `captureOutputDidFinishProcessingPhoto`, which the capture service calls on a thread
/// of its own.
class PhotoTaker : public platform::AVCapturePhotoCaptureDelegate,
                   public std::enable_shared_from_this<PhotoTaker> {
 public:
  using OnSuccess = std::function<void(const std::string& path)>;
  using OnError = std::function<void()>;

  /// Builds session, input, output and layer on `device`; the session does not run yet. A camera that cannot
  /// be opened is not noticed here: whoever makes a photo taker has looked for the camera first.
  [[nodiscard]] static std::shared_ptr<PhotoTaker> make(
      const platform::Platform& platform, suite::Suite& suite,
      const std::shared_ptr<platform::AVCaptureDevice>& device, OnSuccess onSuccess, OnError onError);

  void startPreview() { session_.load()->startRunning(); }
  void stopPreview() { session_.load()->stopRunning(); }
  [[nodiscard]] std::shared_ptr<platform::AVCaptureVideoPreviewLayer> getLayer() const { return layer_; }

  /// Requests one still. Exactly one of the callbacks follows, on the main thread: `onSuccess` with the path
  /// of the file or `onError`; or the application ends, when there is no output folder.
  void take();

  void captureOutputDidFinishProcessingPhoto(platform::AVCapturePhotoOutput& output,
                                             std::shared_ptr<platform::AVCapturePhoto> photo,
                                             const std::optional<platform::NSError>& error) override;

  /// The full path for a photo taken now: the first free name in `folder`. It is only tested, not held. Any
  /// thread.
  [[nodiscard]] std::string generatePath(const std::string& folder) const;

 private:
  PhotoTaker(const platform::Platform& platform, suite::Suite& suite, OnSuccess onSuccess, OnError onError);

  void build(const std::shared_ptr<platform::AVCaptureDevice>& device);
  void findVideoConnection();
  void requestCapture();
  void captureFailed(const platform::NSError& error);
  void save(const platform::AVCapturePhoto& photo, const std::string& folder);
  void queueOverlay(std::shared_ptr<platform::NSBitmapImageRep> bitmap);
  void showOverlay(const std::shared_ptr<platform::NSBitmapImageRep>& bitmap);
  void shotDone(const std::string& path) { onSuccess_(path); }
  void shotFailed() { onError_(); }

  const platform::Platform& platform_;
  suite::Suite& suite_;

  // Atomic: also read on the capture service's thread.
  std::atomic<std::shared_ptr<platform::AVCaptureSession>> session_;
  std::atomic<std::shared_ptr<platform::AVCapturePhotoOutput>> photoOutput_;
  std::atomic<std::shared_ptr<platform::AVCaptureVideoPreviewLayer>> layer_;
  std::atomic<std::shared_ptr<platform::AVCaptureConnection>> videoConnection_;
  OnSuccess onSuccess_;
  OnError onError_;
};

}  // namespace camera_shot
