#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

#include "platform/linux/camera/Camera.h"
#include "platform/linux/camera/CaptureService.h"
#include "platform/linux/camera/FrameFeed.h"
#include "platform/linux/camera/ModeChoice.h"
#include "platform/linux/camera/RestartPace.h"
#include "platform/linux/camera/StillQueue.h"
#include "platform/linux/camera/StreamPatience.h"

namespace platform_linux {

/// What a session does on the cameras' thread: its stream, the stills that wait and the previews that look.
/// The public operations are thread-safe and return at once.
///
/// From its start to its stop a session looks after itself: a stream that ends, for whatever reason, is
/// started again, at once when its camera has come back, otherwise after a pause. Stills wait meanwhile.
class CaptureFlow final : public std::enable_shared_from_this<CaptureFlow>, public FrameStream::Client {
 public:
  /// `arrived` counts usable pictures, `copied` those that were copied out of the camera's buffers.
  struct Counts {
    std::uint64_t arrived = 0;
    std::uint64_t copied = 0;
  };

  explicit CaptureFlow(std::shared_ptr<CaptureService> service);
  CaptureFlow(const CaptureFlow&) = delete;
  CaptureFlow& operator=(const CaptureFlow&) = delete;
  ~CaptureFlow() override = default;

  /// Which camera the next start is to use.
  void setCamera(Camera camera);
  [[nodiscard]] bool hasCamera() const;

  void start();
  /// Stills that wait fail with ECANCELED. After a still that nobody watched the camera runs on for a second,
  /// unseen: who asks again right after a photo gets another, not an error or a dark one.
  void stop();
  /// As `stop`, but at once.
  void release();
  /// Asks for the next whole picture of a settled camera. Fails with ENOTCONN when the flow was not started,
  /// or was stopped, and when no such picture comes in time, with the reason: ENODEV when there is no such
  /// camera or it was unplugged, EBUSY when another program has it, EPIPE when the daemon has gone, ETIMEDOUT
  /// when the camera is silent. Without a camera, and with one of no mode that can be used (ENOTSUP), it
  /// fails at once. `isMirrored`: how it is wanted.
  void requestStill(StillAnswer answer, bool isMirrored = false);
  /// Frames go to `feed`, too, as long as it lives.
  void addFeed(const std::shared_ptr<FrameFeed>& feed);
  /// Whether somebody watches the live picture.
  [[nodiscard]] bool isWatched() const { return isWatched_; }
  /// Over all runs.
  [[nodiscard]] Counts counts() const { return {arrived_, copied_}; }

  // For the service, on the cameras' thread:

  /// Cameras have come or gone.
  void camerasChanged();
  /// The end is near: the camera is given back, and a still is answered only if its frame has come. Leaves
  /// the service when none is left.
  void finish();
  /// The end of everything: nobody is told anything.
  void abandon();

 private:
  void startNow();
  /// What the previews showed is over, because of `error`; 0: the next frame is on its way.
  void endFeeds(int error);
  void stopSoon();
  /// The second after a stop is over; a still that was asked for in it gets its picture first.
  void endReadiness();
  void stopNow(int error);
  void giveCameraBack(int error);
  void leaveService();
  void request(StillAnswer answer, bool isMirrored);
  void openStream();
  void closeStream(int error);
  void restart(int error);
  /// Looks again when the stream has said nothing for too long.
  void lookForSilenceIn(std::chrono::nanoseconds delay);
  void waitForSilence();
  void checkSilence();
  [[nodiscard]] bool anyFeedWants();
  [[nodiscard]] std::optional<Camera> chosenCamera() const;
  /// A line for the log, on the camera.
  void note(const std::string& line) const;
  void noteOtherMode(const FrameFormat& format) const;
  void noteNextMode(const std::string& whatFails) const;
  void post(void (CaptureFlow::*task)());

  void frameArrived(const FrameBuffer& picture) override;
  void firstFrameArrived(const FrameBuffer& picture);
  void frameUnusable() override;
  void streamEnded(int error) override;

  const std::shared_ptr<CaptureService> service_;
  mutable std::mutex cameraMutex_;
  std::optional<Camera> camera_;
  std::atomic<std::uint64_t> arrived_ = 0;
  std::atomic<std::uint64_t> copied_ = 0;
  std::atomic<bool> isWatched_ = false;

  // The cameras' thread only:
  const std::shared_ptr<StillQueue> stills_;
  std::vector<std::weak_ptr<FrameFeed>> feeds_;
  std::unique_ptr<FrameStream> stream_;
  CameraMode mode_;                               // the stream's
  std::unique_ptr<CameraLoop::Timer> restart_;    // while the flow is started
  std::unique_ptr<CameraLoop::Timer> silence_;    // while the flow is started
  CameraLoop::Time silenceDue_;                   // of that timer
  std::unique_ptr<CameraLoop::Timer> readiness_;  // from a stop after a still until it takes effect
  bool tookStill_ = false;                        // since the start
  RestartPace pace_;
  ModeChoice modes_;
  std::uint64_t run_ = 0;  // counts the streams
  std::uint64_t sequence_ = 0;
  StreamPatience patience_;
  int unusable_ = 0;                // how many pictures of this stream could not be used
  CameraLoop::Time unusableSince_;  // of the first of them
  bool hasGivenUp_ = false;         // this stream, as there were enough of them
  bool isStarted_ = false;
  int hopeless_ = 0;  // why this camera can never bring a frame; 0 when it can
};

}  // namespace platform_linux
