#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace platform_linux {

/// The bytes of one buffer of a device, shared with its driver. Unmapped when it is destroyed.
class MappedBuffer {
 public:
  virtual ~MappedBuffer() = default;
  [[nodiscard]] virtual const std::uint8_t* data() const = 0;
  [[nodiscard]] virtual std::size_t size() const = 0;
};

/// One open video device. Closed when it is destroyed, which also ends its stream.
class DeviceFile {
 public:
  virtual ~DeviceFile() = default;

  /// 0, or the `errno`; EINTR is retried. `argument` is what videodev2.h says for `request`.
  [[nodiscard]] virtual int control(unsigned long request, void* argument) = 0;
  /// Nothing when the system refuses.
  [[nodiscard]] virtual std::unique_ptr<MappedBuffer> map(std::size_t length, std::int64_t offset) = 0;
  /// What a loop watches for pictures.
  [[nodiscard]] virtual int descriptor() const = 0;
};

/// The system calls that reach video devices; tests play drivers here. Any thread.
class DeviceCalls {
 public:
  virtual ~DeviceCalls() = default;

  /// The device, without waiting in later calls for pictures, or none and the `errno`.
  [[nodiscard]] virtual std::pair<std::unique_ptr<DeviceFile>, int> open(const std::string& path) = 0;
  /// Whether there are video devices and this user may open none of them.
  [[nodiscard]] virtual bool areAllRefused() const = 0;
};

/// Where the system has the files of devices.
constexpr const char* kDeviceFolder = "/dev";

/// The number in the path of a video device, such as /dev/video0; nothing for radios, subdevices and other
/// files.
[[nodiscard]] std::optional<unsigned> deviceNumber(const std::filesystem::path& path);
/// The paths of all video devices that have a file in the folder, by number.
[[nodiscard]] std::vector<std::string> devicePaths(const std::filesystem::path& folder = kDeviceFolder);

/// Those of the kernel, to devices with a file in a folder.
class KernelDeviceCalls final : public DeviceCalls {
 public:
  explicit KernelDeviceCalls(std::filesystem::path folder) : folder_(std::move(folder)) {}

  [[nodiscard]] std::pair<std::unique_ptr<DeviceFile>, int> open(const std::string& path) override;
  [[nodiscard]] bool areAllRefused() const override;

 private:
  const std::filesystem::path folder_;
};

}  // namespace platform_linux
