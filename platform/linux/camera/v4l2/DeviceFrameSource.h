#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "platform/linux/camera/FrameSource.h"
#include "platform/linux/camera/v4l2/DeviceAccess.h"
#include "platform/linux/camera/v4l2/DeviceCalls.h"
#include "platform/linux/camera/v4l2/DeviceFolder.h"

namespace platform_linux {

class DeviceStream;

/// The cameras of the kernel, without anybody in between: for systems where no daemon serves them. Starts on
/// any thread.
class DeviceFrameSource final : public FrameSource, private DeviceFolder::Client {
 public:
  /// Those of the machine that have a file in `folder`.
  explicit DeviceFrameSource(const std::filesystem::path& folder = kDeviceFolder);
  DeviceFrameSource(std::unique_ptr<DeviceCalls> calls, std::unique_ptr<DeviceFolder> folder);
  DeviceFrameSource(const DeviceFrameSource&) = delete;
  DeviceFrameSource& operator=(const DeviceFrameSource&) = delete;
  ~DeviceFrameSource() override;

  void start(CameraLoop& loop, FrameSource::Client& client) override;
  void stop() override;
  [[nodiscard]] std::unique_ptr<FrameStream> open(const Camera& camera, const CameraMode& mode,
                                                  FrameStream::Client& client) override;
  [[nodiscard]] CameraAccess& access() override { return access_; }

 private:
  /// What is known of a device file since it was opened first.
  struct Device {
    DeviceEntry entry;
    std::optional<Camera> camera = {};  ///< without its identity; none when it is no camera
    std::string note = {};              ///< for the log, on a camera of no use here
  };

  void devicesChanged() override;
  void deviceGone(const std::string& path) override;
  void examine(const DeviceEntry& entry);
  /// The same for a device whose signal has changed.
  void examineAgain(const std::string& path);
  void tell(CameraCensus::State state = CameraCensus::State::Complete);
  [[nodiscard]] Device read(DeviceFile& file, const DeviceEntry& entry);
  [[nodiscard]] std::vector<Camera> identifiedCameras() const;
  [[nodiscard]] std::vector<std::string> notes() const;

  const std::unique_ptr<DeviceCalls> calls_;
  std::unique_ptr<DeviceFolder> folder_;
  DeviceAccess access_;
  CameraLoop* loop_ = nullptr;
  FrameSource::Client* client_ = nullptr;
  // The rest belongs to the loop's thread.
  std::map<unsigned, Device> devices_;  // by number
  std::set<DeviceStream*> streams_;
  std::uint64_t nextSerial_ = 1;
  bool isListed_ = false;  // once all that were there at the start are examined
};

}  // namespace platform_linux
