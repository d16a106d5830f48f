// Answers a video device's calls with arbitrary bytes: its lists, its format, its buffers and pictures.
// Drivers are many, and some are wrong; whatever they state, no byte is read that they have not given.

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <linux/videodev2.h>
#include <memory>
#include <span>
#include <sys/ioctl.h>
#include <vector>

#include "platform/linux/camera/FrameBuffer.h"
#include "platform/linux/camera/v4l2/DeviceBuffers.h"
#include "platform/linux/camera/v4l2/DeviceModes.h"

namespace {

using platform_linux::DeviceBuffers;

// Larger ones only take time.
constexpr std::size_t kMostMapped = 1 << 20;
constexpr int kMostPictures = 8;

class Memory final : public platform_linux::MappedBuffer {
 public:
  explicit Memory(std::size_t size) : bytes_(size) {}
  [[nodiscard]] const std::uint8_t* data() const override { return bytes_.data(); }
  [[nodiscard]] std::size_t size() const override { return bytes_.size(); }

 private:
  const std::vector<std::uint8_t> bytes_;
};

/// Each call takes its errno and its answer from the input; once that is used up, calls fail.
class Device final : public platform_linux::DeviceFile {
 public:
  explicit Device(std::span<const std::uint8_t> input) : input_(input) {}

  int control(unsigned long request, void* argument) override {
    if (input_.empty()) return EINVAL;
    const int error = input_.front() < 16 ? input_.front() : 0;
    input_ = input_.subspan(1);
    if (error != 0 || (_IOC_DIR(request) & _IOC_READ) == 0) return error;
    if (request == VIDIOC_QUERYBUF || request == VIDIOC_QBUF || request == VIDIOC_DQBUF) {
      answerBuffer(*static_cast<v4l2_buffer*>(argument));
    } else {
      take(argument, _IOC_SIZE(request));
    }
    return 0;
  }
  std::unique_ptr<platform_linux::MappedBuffer> map(std::size_t length, std::int64_t) override {
    return length <= kMostMapped ? std::make_unique<Memory>(length) : nullptr;
  }
  [[nodiscard]] int descriptor() const override { return -1; }

 private:
  void take(void* to, std::size_t size) {
    const std::size_t count = std::min(size, input_.size());
    std::memcpy(to, input_.data(), count);
    input_ = input_.subspan(count);
  }

  /// The kernel leaves the pointer to the planes as it is and fills no more of them than there is room for.
  void answerBuffer(v4l2_buffer& buffer) {
    const v4l2_buffer asked = buffer;
    take(&buffer, sizeof buffer);
    if (asked.type != V4L2_BUF_TYPE_VIDEO_CAPTURE_MPLANE) return;
    buffer.m = asked.m;
    buffer.length = std::min(buffer.length, asked.length);
    take(buffer.m.planes, buffer.length * sizeof(v4l2_plane));
  }

  std::span<const std::uint8_t> input_;
};

void look(const DeviceBuffers::Picture& picture, const platform_linux::FrameFormat& format) {
  unsigned sum = 0;
  for (const auto& block : picture.blocks())
    for (const auto byte : block.bytes)
      sum += byte;
  if (sum != 0) std::abort();  // the memory is all zeros
  if (const auto frame = platform_linux::FrameBuffer::pictureIn(picture.blocks(), format))
    (void)frame->copy(0);
}

void stream(Device& device, const platform_linux::DeviceFormat& format) {
  DeviceBuffers buffers(device, format);
  if (buffers.start() != 0) return;
  for (int i = 0; i < kMostPictures; ++i) {
    DeviceBuffers::Picture picture;
    if (buffers.take(picture) != 0) return;
    if (picture.isUsable) look(picture, format.frame);
    if (buffers.giveBack(picture.index) != 0) return;
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Device device({data, size});
  platform_linux::DeviceAbilities abilities;
  if (readAbilities(device, abilities) != 0) return 0;
  const auto type = platform_linux::captureType(abilities.isMultiPlanar);
  const auto modes = readModes(device, type);
  platform_linux::DeviceFormat format;
  if (!modes.empty() && setFormat(device, type, modes.front(), format) == 0) stream(device, format);
  return 0;
}
