#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <functional>
#include <limits>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "platform/linux/camera/FrameExaminer.h"
#include "platform/linux/camera/FrameSource.h"

namespace camera_test {

/// The cameras' loop, moved on by hand.
class FakeCameraLoop final : public platform_linux::CameraLoop {
 public:
  void post(std::function<void()> task) override { tasks_.push_back(std::move(task)); }
  void end(std::function<void()> last) override;
  [[nodiscard]] Time now() const override { return now_; }
  [[nodiscard]] std::unique_ptr<Timer> timer(std::function<void()> action) override;
  /// Nothing is ever ready.
  [[nodiscard]] std::unique_ptr<Watch> watch(int descriptor, std::function<void()> ready) override;

  /// Runs what was posted, and what that posts.
  void run();
  /// Moves the clock on, running each timer as it falls due.
  void advance(std::chrono::nanoseconds time);
  /// The clock goes on, but nothing runs meanwhile; timers are late.
  void standStill(std::chrono::nanoseconds time);

 private:
  class FakeTimer;

  std::deque<std::function<void()>> tasks_;
  std::vector<FakeTimer*> timers_;
  Time now_{std::chrono::hours{1}};
  bool hasEnded_ = false;
};

/// Cameras that the test plays.
class FakeFrameSource final : public platform_linux::FrameSource {
 public:
  void start(platform_linux::CameraLoop& loop, Client& client) override;
  void stop() override { isStopped = true; }
  [[nodiscard]] std::unique_ptr<platform_linux::FrameStream> open(
      const platform_linux::Camera& camera, const platform_linux::CameraMode& mode,
      platform_linux::FrameStream::Client& client) override;
  [[nodiscard]] platform_linux::CameraAccess& access() override { return access_; }

  /// These cameras are there now. Streams of others end soon.
  void show(std::vector<platform_linux::Camera> cameras,
            platform_linux::CameraCensus::State state = platform_linux::CameraCensus::State::Complete);
  /// A frame from every stream that is open: a JPEG stream of these bytes behind its first marker.
  void deliver(std::vector<std::uint8_t> bytes);
  /// Every stream that is open ends.
  void endStreams(int error);

  /// Streams that are opened end at once with this error.
  std::optional<int> refusal;
  /// Cameras, by their identities, that another program has.
  std::set<std::string> busy;
  /// How many pixels the modes have that are granted all the same.
  std::uint32_t grantedPixels = 0;
  /// Modes with more pixels bring nothing.
  std::uint32_t loudPixels = std::numeric_limits<std::uint32_t>::max();
  /// Pictures of modes with more are of no use.
  std::uint32_t usablePixels = std::numeric_limits<std::uint32_t>::max();
  int opened = 0;  ///< how many streams were asked for
  bool isStopped = false;

 private:
  class Stream;
  void endLater(std::uint64_t serial, int error);
  class Access final : public platform_linux::CameraAccess {
   public:
    [[nodiscard]] platform::AVAuthorizationStatus status() const override {
      return platform::AVAuthorizationStatus::Authorized;
    }
    void request(std::function<void(bool granted)> completion) override { completion(true); }
    void ask() override {}
    [[nodiscard]] bool hidesCamera() const override { return false; }
  };

  Access access_;
  platform_linux::CameraLoop* loop_ = nullptr;
  Client* client_ = nullptr;
  std::vector<platform_linux::Camera> cameras_;
  std::vector<Stream*> streams_;
};

/// Finds what the frame itself says: its third byte is the share that is lost, in hundredths, its fourth the
/// brightness. Looks for as long as the test lets it.
class FakeExaminer final : public platform_linux::FrameExaminer {
 public:
  explicit FakeExaminer(platform_linux::CameraLoop& loop) : loop_(loop) {}
  void measure(std::shared_ptr<const picture::Frame> frame,
               std::function<void(const std::optional<platform_linux::Exposure>&)> found) override;
  void examine(std::shared_ptr<const picture::Frame> frame, Still still,
               std::function<void(const platform_linux::FrameFinding&)> found) override;

  int measured = 0;
  std::vector<Still> examined;
  /// How long the next frame is looked at; nothing is found out before.
  std::chrono::milliseconds effort{0};

 private:
  void post(std::function<void()> found);

  platform_linux::CameraLoop& loop_;
  std::unique_ptr<platform_linux::CameraLoop::Timer> timer_;
};

}  // namespace camera_test
