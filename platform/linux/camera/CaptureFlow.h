#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

#include "platform/linux/camera/Camera.h"
#include "platform/linux/camera/CaptureService.h"
#include "platform/linux/camera/FrameFeed.h"
#include "platform/linux/camera/StillSchedule.h"

namespace platform_linux {

/// Called once, on the camera's thread, which it must not hold: with the frame, or with none and an `errno`.
using StillAnswer = std::function<void(std::shared_ptr<const picture::Frame> frame, int error)>;

/// What a session does on the loop's thread: its stream, the stills that wait and the previews that look. The
/// public operations are thread-safe and return at once.
class CaptureFlow final : public std::enable_shared_from_this<CaptureFlow>, public FrameStream::Client {
 public:
  /// `arrived` counts usable pictures, `copied` those that were copied out of the camera's buffers.
  struct Counts {
    std::uint64_t arrived = 0;
    std::uint64_t copied = 0;
  };

  explicit CaptureFlow(std::shared_ptr<CaptureService> service) : service_(std::move(service)) {}
  CaptureFlow(const CaptureFlow&) = delete;
  CaptureFlow& operator=(const CaptureFlow&) = delete;
  ~CaptureFlow() override = default;

  /// Which camera the next start is to use.
  void setCamera(Camera camera);
  [[nodiscard]] bool hasCamera() const;

  void start();
  /// Stills that wait fail with ECANCELED.
  void stop();
  /// Asks for the next whole picture of a settled camera. Fails with ENOTCONN when the flow was not started,
  /// ENODEV when there is no such camera or it was unplugged, EPIPE when the daemon has gone, ETIMEDOUT when
  /// the camera is silent.
  void requestStill(StillAnswer answer);
  /// Frames go to `feed`, too, as long as it lives.
  void addFeed(const std::shared_ptr<FrameFeed>& feed);
  /// Whether somebody watches the live picture.
  [[nodiscard]] bool isWatched() const { return isWatched_; }
  /// Over all runs.
  [[nodiscard]] Counts counts() const { return {arrived_, copied_}; }

  // For the service, on the loop's thread:

  /// The end of everything: nobody is told anything.
  void abandon();

 private:
  void startNow();
  /// No more frames will come, because of `error`: what waits fails, and so does what is asked for later. The
  /// stream is given up before this returns.
  void fail(int error);
  /// What the previews showed is over, because of `error`; 0: the next frame is on its way.
  void endFeeds(int error);
  void stopNow(int error);
  void request(StillAnswer answer);
  void answerAll(const std::shared_ptr<const picture::Frame>& frame, int error);
  void checkSilence();
  void armTimer();
  [[nodiscard]] bool anyFeedWants();
  void post(void (CaptureFlow::*task)());

  void frameArrived(const FrameBuffer& picture) override;
  void streamEnded(int error) override;

  const std::shared_ptr<CaptureService> service_;
  mutable std::mutex cameraMutex_;
  std::optional<Camera> camera_;
  std::atomic<std::uint64_t> arrived_ = 0;
  std::atomic<std::uint64_t> copied_ = 0;

  // The loop's thread only:
  std::unique_ptr<FrameStream> stream_;
  std::unique_ptr<CameraLoop::Timer> silenceTimer_;
  StillSchedule schedule_;
  std::vector<StillAnswer> waiting_;
  std::vector<std::weak_ptr<FrameFeed>> feeds_;
  std::atomic<bool> isWatched_ = false;
  std::uint64_t sequence_ = 0;
  bool isStarted_ = false;
  int error_ = 0;  // why nothing comes although started
};

}  // namespace platform_linux
