#pragma once

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "platform/linux/camera/CameraThread.h"
#include "platform/linux/camera/FrameSource.h"

namespace test_support {

/// One value that comes from the loop's thread.
template <typename T>
class Awaited {
 public:
  void set(T value) {
    {
      const std::scoped_lock lock(mutex_);
      value_ = std::move(value);
    }
    changed_.notify_all();
  }
  /// Throws std::runtime_error when `what` has not come even in the time that an emulated machine may take.
  T wait(const char* what) {
    std::unique_lock lock(mutex_);
    if (!changed_.wait_for(lock, kPatience, [this] { return value_.has_value(); }))
      throw std::runtime_error(std::string(what) + " did not come");
    return *std::exchange(value_, {});
  }

 private:
  static constexpr std::chrono::seconds kPatience{30};

  std::mutex mutex_;
  std::condition_variable changed_;
  std::optional<T> value_;
};

/// The cameras of a source, for programs that have nothing else to do than to wait.
class SourceCameras final : public platform_linux::FrameSource::Client {
 public:
  using Frame = std::shared_ptr<const picture::Frame>;

  explicit SourceCameras(std::shared_ptr<platform_linux::FrameSource> source);
  SourceCameras(const SourceCameras&) = delete;
  SourceCameras& operator=(const SourceCameras&) = delete;
  ~SourceCameras() override;

  void camerasChanged(const platform_linux::FrameSource&, platform_linux::CameraCensus census) override;

  /// All of them, once there are any. Throws std::runtime_error when none come.
  std::vector<platform_linux::Camera> list() { return cameras_.wait("the list"); }
  /// The first frame in that mode; none when the stream ends before it.
  Frame frame(const platform_linux::Camera& camera, const platform_linux::CameraMode& mode);

 private:
  platform_linux::CameraThread loop_;
  const std::shared_ptr<platform_linux::FrameSource> source_;
  Awaited<std::vector<platform_linux::Camera>> cameras_;
};

}  // namespace test_support
