#pragma once

#include <memory>
#include <optional>
#include <set>
#include <vector>

#include "platform/linux/base/DeliveryWorker.h"
#include "platform/linux/camera/CameraList.h"
#include "platform/linux/camera/FrameSource.h"

namespace platform_linux {

class CaptureFlow;

/// What all sessions share: the loop, the source of cameras and frames, and the worker for outcomes. Sessions
/// may outlive its `shutDown`: they then deliver nothing.
class CaptureService final : private FrameSource::Client {
 public:
  /// Starts the source; from then on `list` is kept up to date.
  CaptureService(platform::MainQueue& mainQueue, std::shared_ptr<CameraList> list,
                 std::unique_ptr<CameraLoop> loop, std::shared_ptr<FrameSource> source);
  CaptureService(const CaptureService&) = delete;
  CaptureService& operator=(const CaptureService&) = delete;
  ~CaptureService() override;

  /// Stops all sessions without another outcome; an outcome that is being delivered is waited for. Main
  /// thread only, after the main loop has ended.
  void shutDown();

  /// Whether cameras may be used. Main thread only.
  [[nodiscard]] CameraAccess& access() { return source_->access(); }

  /// Thread-safe.
  [[nodiscard]] CameraLoop& loop() { return *loop_; }
  [[nodiscard]] DeliveryWorker& worker() { return worker_; }

  // On the loop's thread only:

  /// The camera as it is plugged in now: the very one, else the one of the same identity, when it was plugged
  /// in anew.
  [[nodiscard]] const Camera* find(const Camera& camera) const;
  /// Frames of a camera that was found.
  [[nodiscard]] std::unique_ptr<FrameStream> open(const Camera& camera, const CameraMode& mode,
                                                  FrameStream::Client& client) {
    return source_->open(camera, mode, client);
  }

  /// Until it is removed, `flow` is kept alive, so that its stream ends on this thread.
  void add(std::shared_ptr<CaptureFlow> flow) { flows_.insert(std::move(flow)); }
  void remove(const std::shared_ptr<CaptureFlow>& flow) { flows_.erase(flow); }

 private:
  void camerasChanged(const FrameSource& source, CameraCensus census) override;

  const std::shared_ptr<CameraList> list_;
  DeliveryWorker worker_;
  const std::unique_ptr<CameraLoop> loop_;
  const std::shared_ptr<FrameSource> source_;
  // The rest belongs to the loop's thread.
  std::vector<Camera> cameras_;
  std::set<std::shared_ptr<CaptureFlow>> flows_;
};

}  // namespace platform_linux
