#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>

#include "platform/linux/camera/FrameSource.h"
#include "platform/linux/camera/v4l2/DeviceBuffers.h"
#include "platform/linux/camera/v4l2/DeviceCalls.h"

namespace platform_linux {

/// The frames of one device, which belongs to us meanwhile: no other program can stream from it.
class DeviceStream final : public FrameStream {
 public:
  /// The streams that there are, among which each counts as long as it lives.
  using All = std::set<DeviceStream*>;

  /// The others outlive the stream. When the device's signal has changed the stream ends, and `signalChanged`
  /// is called before the client is told.
  DeviceStream(All& all, DeviceCalls& calls, CameraLoop& loop, std::string path, const CameraMode& mode,
               Client& client, std::function<void()> signalChanged);
  DeviceStream(const DeviceStream&) = delete;
  DeviceStream& operator=(const DeviceStream&) = delete;
  ~DeviceStream() override { all_.erase(this); }

  [[nodiscard]] const std::string& path() const { return path_; }
  /// Gives the device back and tells the client why, unless that has happened before.
  void end(int error);

 private:
  [[nodiscard]] int begin(DeviceCalls& calls, const CameraMode& mode);
  void watch();
  void takePictures();
  void show(const DeviceBuffers::Picture& picture);

  All& all_;
  CameraLoop& loop_;
  const std::string path_;
  Client& client_;
  const std::function<void()> signalChanged_;
  DeviceFormat format_;
  // In the order in which they are needed; the watch ends first.
  std::unique_ptr<DeviceFile> device_;
  std::optional<DeviceBuffers> buffers_;
  std::unique_ptr<CameraLoop::Watch> watch_;
  /// Whether a failure to begin may still be told.
  const std::shared_ptr<bool> isAlive_ = std::make_shared<bool>(true);
  bool isFollowingSignal_ = false;
  bool hasEnded_ = false;
};

}  // namespace platform_linux
