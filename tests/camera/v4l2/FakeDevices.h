#pragma once

#include <cstdint>
#include <deque>
#include <linux/videodev2.h>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "platform/linux/base/FileDescriptor.h"
#include "platform/linux/camera/v4l2/DeviceCalls.h"
#include "platform/linux/camera/v4l2/DeviceFolder.h"

namespace camera_test {

/// One format that a played driver offers.
struct FakeFormat {
  std::uint32_t code = V4L2_PIX_FMT_YUYV;
  std::vector<std::pair<std::uint32_t, std::uint32_t>> sizes{{4, 2}};
  std::vector<v4l2_fract> intervals{{1, 30}};
  std::string description = {};
  bool isRange = false;  ///< the first and the last of both are the ends of a range
};

/// A video device with its driver, as strict as the kernel's: one program streams at a time, a device that
/// was unplugged answers ENODEV to everything.
class FakeDevice {
 public:
  std::string card = "Desk camera";
  std::string driver = "uvcvideo";
  std::uint32_t abilities = V4L2_CAP_VIDEO_CAPTURE | V4L2_CAP_STREAMING;
  std::vector<FakeFormat> formats{{}};
  std::uint32_t padding = 0;  ///< bytes after each row
  std::uint32_t planes = 1;   ///< blocks of memory, of a multi-planar device
  std::uint32_t colorspace = V4L2_COLORSPACE_SRGB;
  std::uint32_t quantization = V4L2_QUANTIZATION_DEFAULT;
  std::map<unsigned long, int> failures;  ///< what these requests answer from now on
  std::set<unsigned long> unknown;        ///< requests that the driver does not know
  std::vector<std::uint8_t> first;        ///< a picture that is there as soon as it streams
  bool doesInsist = false;                ///< whatever is asked for, the first size of the first format it is
  /// Of a grabber: the size that comes in; {} without a signal. Its only format has the size to which it is
  /// set.
  std::optional<std::pair<std::uint32_t, std::uint32_t>> signal;

  FakeDevice();

  /// Another program streams from it.
  void occupy() { owner_ = this; }
  void release() { owner_ = nullptr; }
  void unplug();
  /// Something else comes in; whoever asked for that is told.
  void changeSignal(std::uint32_t width, std::uint32_t height);
  /// Fills the next buffer that waits. `flags` as in v4l2_buffer; false when there is none.
  bool deliver(const std::vector<std::uint8_t>& bytes, std::uint32_t flags = 0);
  [[nodiscard]] bool isStreaming() const { return isStreaming_; }
  /// The size of a picture as it was agreed, all planes together.
  [[nodiscard]] std::size_t pictureSize() const;
  [[nodiscard]] v4l2_fract interval() const { return interval_; }

 private:
  friend class FakeDeviceFile;
  friend class FakeDeviceCalls;

  [[nodiscard]] int answer(const void* file, unsigned long request, void* argument);
  [[nodiscard]] int describe(unsigned long request, void* argument);
  [[nodiscard]] int stream(const void* file, unsigned long request, void* argument);
  [[nodiscard]] int follow(unsigned long request, void* argument);
  [[nodiscard]] int capability(v4l2_capability& answer) const;
  [[nodiscard]] int enumerate(v4l2_fmtdesc& entry) const;
  [[nodiscard]] int enumerate(v4l2_frmsizeenum& entry) const;
  [[nodiscard]] int enumerate(v4l2_frmivalenum& entry) const;
  [[nodiscard]] int format(unsigned long request, v4l2_format& format);
  [[nodiscard]] int buffers(const void* file, v4l2_requestbuffers& request);
  [[nodiscard]] int take(v4l2_buffer& buffer);
  void closed(const void* file);
  [[nodiscard]] bool isMultiPlanar() const { return (abilities & V4L2_CAP_VIDEO_CAPTURE_MPLANE) != 0; }
  [[nodiscard]] const FakeFormat* find(std::uint32_t code) const;
  void drainSignal();
  void wakeUp();

  struct Filled {
    std::uint32_t index;
    std::uint32_t used;
    std::uint32_t flags;
  };

  platform_linux::FileDescriptor ready_;
  std::uint32_t code_ = 0;
  std::uint32_t width_ = 0;
  std::uint32_t height_ = 0;
  v4l2_fract interval_{};
  const void* owner_ = nullptr;
  bool isFollowed_ = false;
  int changes_ = 0;  // that were not told yet
  bool isStreaming_ = false;
  bool isUnplugged_ = false;
  std::vector<std::shared_ptr<std::vector<std::uint8_t>>> memory_;  // block by block
  std::deque<std::uint32_t> waiting_;
  std::deque<Filled> filled_;
};

/// The system's devices, by their paths.
class FakeDeviceCalls final : public platform_linux::DeviceCalls {
 public:
  std::map<std::string, std::shared_ptr<FakeDevice>> devices;
  std::map<std::string, int> refusals;  ///< what opening these answers

  [[nodiscard]] std::pair<std::unique_ptr<platform_linux::DeviceFile>, int> open(
      const std::string& path) override;
  [[nodiscard]] bool areAllRefused() const override;
};

/// What the system tells of its devices.
class FakeDeviceFolder final : public platform_linux::DeviceFolder {
 public:
  std::vector<platform_linux::DeviceEntry> entries;

  void follow(platform_linux::CameraLoop&, Client& client) override { client_ = &client; }
  [[nodiscard]] std::vector<platform_linux::DeviceEntry> devices() override { return entries; }

  void changed() { client_->devicesChanged(); }
  void gone(const std::string& path) {
    client_->deviceGone(path);
    client_->devicesChanged();
  }

 private:
  Client* client_ = nullptr;
};

}  // namespace camera_test
