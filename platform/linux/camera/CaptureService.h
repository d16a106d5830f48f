#pragma once

#include <chrono>
#include <future>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "platform/Foundation/NSLog.h"
#include "platform/linux/camera/CameraList.h"
#include "platform/linux/camera/DeliveryWorker.h"
#include "platform/linux/camera/FrameExaminer.h"
#include "platform/linux/camera/FrameSource.h"

namespace platform_linux {

class CaptureFlow;

/// What all sessions share: the loop, the source of cameras and frames, and the worker for outcomes. Sessions
/// may outlive its `shutDown`: they then deliver nothing.
class CaptureService final : private FrameSource::Client {
 public:
  /// What the service is made of. The queue and the log outlive it.
  struct Parts {
    platform::MainQueue& mainQueue;
    platform::NSLog& log;
    std::shared_ptr<CameraList> list;  ///< kept up to date
    std::unique_ptr<CameraLoop> loop;
    std::unique_ptr<FrameExaminer> examiner;
    std::shared_ptr<FrameSource> source;
  };

  /// Starts the source.
  explicit CaptureService(Parts parts);
  CaptureService(const CaptureService&) = delete;
  CaptureService& operator=(const CaptureService&) = delete;
  ~CaptureService() override;

  /// Stops all sessions, and returns at once: stills whose frame has come are answered still, the others have
  /// no outcome. Main thread only.
  void stopSessions();
  /// Waits until the delegates have dealt with these answers and all before them: until the photos are saved.
  /// False when that takes longer than `patience`. Main thread only, once, after `stopSessions` and the end
  /// of the main loop.
  [[nodiscard]] bool waitForStills(std::chrono::milliseconds patience);
  /// Ends everything at once, but for an outcome that is being delivered, which is waited for. Main thread
  /// only, after the main loop has ended.
  void shutDown();

  /// Whether cameras may be used. Main thread only.
  [[nodiscard]] CameraAccess& access() { return source_->access(); }

  /// Writes a line about a camera to the log. Thread-safe.
  void note(const std::string& line) { log_.log("Camera " + line); }

  /// Thread-safe.
  [[nodiscard]] CameraLoop& loop() { return *loop_; }
  [[nodiscard]] DeliveryWorker& worker() { return worker_; }
  [[nodiscard]] FrameExaminer& examiner() { return *examiner_; }

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
  void remove(const std::shared_ptr<CaptureFlow>& flow);

 private:
  void abandonFlows();
  void finishFlows();
  void deliverEnd();
  void camerasChanged(const FrameSource& source, CameraCensus census) override;

  platform::NSLog& log_;
  const std::shared_ptr<CameraList> list_;
  DeliveryWorker worker_;
  const std::unique_ptr<CameraLoop> loop_;
  const std::unique_ptr<FrameExaminer> examiner_;
  const std::shared_ptr<FrameSource> source_;
  // The rest belongs to the loop's thread.
  std::vector<Camera> cameras_;
  std::set<std::string> notes_;  // those that were written
  std::set<std::shared_ptr<CaptureFlow>> flows_;
  bool isFinishing_ = false;
  std::promise<void> lastDelivery_;  // kept when the delegates have been told the last outcome
};

}  // namespace platform_linux
