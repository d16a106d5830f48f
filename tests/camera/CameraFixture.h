#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/linux/camera/Cameras.h"
#include "platform/linux/photo/PictureData.h"
#include "tests/camera/PrivateDesktop.h"
#include "tests/fakes/FakeFoundation.h"
#include "tests/fakes/Journal.h"

namespace camera_test {

/// What a camera offers that is small and fast enough for any test.
inline constexpr const char* kMode = "modes=MJPG:640x480@30";

/// What became of one capture.
struct Outcome {
  std::int64_t error = 0;
  std::shared_ptr<const platform_linux::PictureData> picture;
  bool onMainThread = false;
};

/// Gathers the outcomes of captures and wakes the main loop for each.
class RecordingDelegate : public platform::AVCapturePhotoCaptureDelegate {
 public:
  explicit RecordingDelegate(platform::MainQueue& mainQueue) : mainQueue_(mainQueue) {}

  void captureOutputDidFinishProcessingPhoto(platform::AVCapturePhotoOutput& output,
                                             std::shared_ptr<platform::AVCapturePhoto> photo,
                                             const std::optional<platform::NSError>& error) override;
  /// Runs on the service's thread at each outcome, before it is recorded.
  std::function<void()> atOutcome;

  std::vector<Outcome> outcomes() const;

 private:
  platform::MainQueue& mainQueue_;
  const std::thread::id mainThread_ = std::this_thread::get_id();
  mutable std::mutex mutex_;
  std::vector<Outcome> outcomes_;
};

/// A session on one camera, built the way the tool builds it.
struct Rig {
  std::shared_ptr<platform::AVCaptureSession> session;
  std::shared_ptr<platform::AVCapturePhotoOutput> output;
  std::shared_ptr<platform::AVCaptureVideoPreviewLayer> layer;
  std::shared_ptr<RecordingDelegate> delegate;

  void capture() const;
  /// How many of the camera's pictures were copied.
  std::uint64_t copied() const;
};

/// The adapter on the private desktop's daemon.
std::unique_ptr<platform_linux::Cameras> camerasOfTheDaemon(platform::MainQueue& queue,
                                                            platform::NSNotificationCenter& center,
                                                            platform::NSLog& log);

/// The adapter in a private desktop, with a main loop that the test turns.
class CameraFixture : public testing::Test {
 public:
  ~CameraFixture() override;

 protected:
  /// Starts the adapter.
  void start();
  /// Ends the main loop and the adapter.
  void end();
  /// Turns the main loop until there are so many notifications in `news_`.
  void awaitNews(std::size_t count);

  /// Turns the main loop until `condition` holds, which must be changed by something that wakes the loop.
  /// Fails the test when nothing happens for thirty seconds.
  void turnUntil(const std::function<bool()>& condition);

  std::vector<std::string> names();
  /// The cameras as the list named them at each notification, with what the notification said.
  std::vector<std::string> news_;
  std::shared_ptr<platform::AVCaptureDevice> device(const std::string& name);
  Rig rig(const std::shared_ptr<platform::AVCaptureDevice>& device);
  Rig runningRig(const std::string& name);
  /// Captures and waits for the outcome.
  Outcome take(const Rig& rig);
  /// Waits until `count` outcomes are there.
  void awaitOutcomes(const Rig& rig, std::size_t count);

  fakes::Journal journal_;
  fakes::FakeMainLoop loop_;
  fakes::FakeNotificationCenter center_{journal_};
  fakes::FakeLog log_{journal_};
  std::unique_ptr<platform_linux::Cameras> cameras_;
};

}  // namespace camera_test
