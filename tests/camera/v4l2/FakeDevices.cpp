#include "tests/camera/v4l2/FakeDevices.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <sys/eventfd.h>
#include <unistd.h>

namespace camera_test {
namespace {

using platform_linux::DeviceFile;
using platform_linux::MappedBuffer;

class FakeBuffer final : public MappedBuffer {
 public:
  explicit FakeBuffer(std::shared_ptr<std::vector<std::uint8_t>> bytes) : bytes_(std::move(bytes)) {}
  [[nodiscard]] const std::uint8_t* data() const override { return bytes_->data(); }
  [[nodiscard]] std::size_t size() const override { return bytes_->size(); }

 private:
  const std::shared_ptr<std::vector<std::uint8_t>> bytes_;
};

template <typename T>
T& as(void* argument) {
  return *static_cast<T*>(argument);
}

}  // namespace

class FakeDeviceFile final : public DeviceFile {
 public:
  explicit FakeDeviceFile(std::shared_ptr<FakeDevice> device) : device_(std::move(device)) {}
  FakeDeviceFile(const FakeDeviceFile&) = delete;
  FakeDeviceFile& operator=(const FakeDeviceFile&) = delete;
  ~FakeDeviceFile() override { device_->closed(this); }

  [[nodiscard]] int control(unsigned long request, void* argument) override {
    return device_->answer(this, request, argument);
  }
  [[nodiscard]] std::unique_ptr<MappedBuffer> map(std::size_t length, std::int64_t offset) override {
    const auto block = static_cast<std::size_t>(offset);
    if (block >= device_->memory_.size() || device_->memory_[block]->size() != length) return nullptr;
    return std::make_unique<FakeBuffer>(device_->memory_[block]);
  }
  [[nodiscard]] int descriptor() const override { return device_->ready_.get(); }

 private:
  const std::shared_ptr<FakeDevice> device_;
};

FakeDevice::FakeDevice() : ready_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}

void FakeDevice::wakeUp() {
  const std::uint64_t one = 1;
  if (::write(ready_.get(), &one, sizeof one) != sizeof one) std::abort();
}

void FakeDevice::drainSignal() {
  std::uint64_t count = 0;
  if (::read(ready_.get(), &count, sizeof count) < 0 && errno != EAGAIN) std::abort();
}

void FakeDevice::unplug() {
  isUnplugged_ = true;
  wakeUp();  // as a hang-up, for good
}

std::size_t FakeDevice::pictureSize() const {
  const std::size_t row =
      code_ == V4L2_PIX_FMT_NV12 || code_ == V4L2_PIX_FMT_NV12M ? width_ : width_ * std::size_t{2};
  const std::size_t rows =
      code_ == V4L2_PIX_FMT_NV12 || code_ == V4L2_PIX_FMT_NV12M ? height_ * 3 / 2 : height_;
  return code_ == V4L2_PIX_FMT_MJPEG ? 4096 : (row + padding) * rows;
}

bool FakeDevice::deliver(const std::vector<std::uint8_t>& bytes, std::uint32_t flags) {
  if (!isStreaming_ || waiting_.empty()) return false;
  const std::uint32_t index = waiting_.front();
  waiting_.pop_front();
  std::size_t begin = 0;
  for (std::uint32_t plane = 0; plane < planes; ++plane) {
    auto& block = *memory_[index * planes + plane];
    const std::size_t length = std::min(block.size(), bytes.size() - begin);
    std::copy_n(bytes.begin() + static_cast<std::ptrdiff_t>(begin), length, block.begin());
    begin += length;
  }
  filled_.push_back({index, static_cast<std::uint32_t>(bytes.size()), flags});
  wakeUp();
  return true;
}

void FakeDevice::closed(const void* file) {
  if (owner_ != file) return;
  owner_ = nullptr;
  isStreaming_ = false;
  isFollowed_ = false;
  changes_ = 0;
  drainSignal();
  memory_.clear();
  waiting_.clear();
  filled_.clear();
}

const FakeFormat* FakeDevice::find(std::uint32_t code) const {
  const auto found =
      std::find_if(formats.begin(), formats.end(), [&](auto& each) { return each.code == code; });
  return found == formats.end() ? nullptr : &*found;
}

int FakeDevice::answer(const void* file, unsigned long request, void* argument) {
  if (isUnplugged_) return ENODEV;
  if (unknown.contains(request)) return ENOTTY;
  if (const auto failure = failures.find(request); failure != failures.end()) return failure->second;
  for (const int outcome : {describe(request, argument), follow(request, argument)})
    if (outcome != ENOTTY) return outcome;
  return stream(file, request, argument);
}

void FakeDevice::changeSignal(std::uint32_t width, std::uint32_t height) {
  signal = {width, height};
  if (!isFollowed_) return;
  ++changes_;
  wakeUp();
}

int FakeDevice::follow(unsigned long request, void* argument) {
  if (!signal) return ENOTTY;
  switch (request) {
    case VIDIOC_ENUMINPUT:
      as<v4l2_input>(argument).capabilities = V4L2_IN_CAP_DV_TIMINGS;
      return 0;
    case VIDIOC_QUERY_DV_TIMINGS:
      if (signal->first == 0) return ENOLINK;
      as<v4l2_dv_timings>(argument).bt.width = signal->first;
      as<v4l2_dv_timings>(argument).bt.height = signal->second;
      return 0;
    case VIDIOC_S_DV_TIMINGS: {
      const auto& timings = as<v4l2_dv_timings>(argument).bt;
      if (owner_) return EBUSY;
      formats.front().sizes = {{timings.width, timings.height}};
      return 0;
    }
    case VIDIOC_SUBSCRIBE_EVENT:
      isFollowed_ = as<v4l2_event_subscription>(argument).type == V4L2_EVENT_SOURCE_CHANGE;
      return isFollowed_ ? 0 : EINVAL;
    case VIDIOC_DQEVENT: {
      if (changes_ == 0) return ENOENT;
      auto& event = as<v4l2_event>(argument);
      event.type = V4L2_EVENT_SOURCE_CHANGE;
      event.u.src_change.changes = V4L2_EVENT_SRC_CH_RESOLUTION;
      event.pending = static_cast<std::uint32_t>(--changes_);
      return 0;
    }
    default:
      return ENOTTY;
  }
}

int FakeDevice::describe(unsigned long request, void* argument) {
  switch (request) {
    case VIDIOC_QUERYCAP:
      return capability(as<v4l2_capability>(argument));
    case VIDIOC_ENUM_FMT:
      return enumerate(as<v4l2_fmtdesc>(argument));
    case VIDIOC_ENUM_FRAMESIZES:
      return enumerate(as<v4l2_frmsizeenum>(argument));
    case VIDIOC_ENUM_FRAMEINTERVALS:
      return enumerate(as<v4l2_frmivalenum>(argument));
    case VIDIOC_G_FMT:
    case VIDIOC_TRY_FMT:
      return format(request, as<v4l2_format>(argument));
    default:
      return ENOTTY;
  }
}

int FakeDevice::stream(const void* file, unsigned long request, void* argument) {
  if (owner_ && owner_ != file) return EBUSY;
  switch (request) {
    case VIDIOC_S_FMT:
      return isStreaming_ ? EBUSY : format(request, as<v4l2_format>(argument));
    case VIDIOC_S_PARM:
      interval_ = as<v4l2_streamparm>(argument).parm.capture.timeperframe;
      return 0;
    case VIDIOC_REQBUFS:
      return buffers(file, as<v4l2_requestbuffers>(argument));
    case VIDIOC_QUERYBUF: {
      auto& buffer = as<v4l2_buffer>(argument);
      for (std::uint32_t plane = 0; plane < planes; ++plane) {
        const std::uint32_t block = buffer.index * planes + plane;
        const auto length = static_cast<std::uint32_t>(memory_.at(block)->size());
        if (isMultiPlanar()) {
          buffer.m.planes[plane].length = length;
          buffer.m.planes[plane].m.mem_offset = block;
        } else {
          buffer.length = length;
          buffer.m.offset = block;
        }
      }
      if (isMultiPlanar()) buffer.length = planes;
      return 0;
    }
    case VIDIOC_QBUF:
      waiting_.push_back(as<v4l2_buffer>(argument).index);
      return 0;
    case VIDIOC_DQBUF:
      return take(as<v4l2_buffer>(argument));
    case VIDIOC_STREAMON:
      isStreaming_ = true;
      if (!first.empty()) deliver(first);
      return 0;
    case VIDIOC_STREAMOFF:
      isStreaming_ = false;
      return 0;
    default:
      return ENOTTY;
  }
}

int FakeDevice::capability(v4l2_capability& answer) const {
  std::copy(card.begin(), card.end(), std::begin(answer.card));
  std::copy(driver.begin(), driver.end(), std::begin(answer.driver));
  answer.device_caps = abilities;
  // The hardware as a whole can do more than this file.
  answer.capabilities = abilities | V4L2_CAP_DEVICE_CAPS | V4L2_CAP_META_CAPTURE | V4L2_CAP_VIDEO_CAPTURE;
  return 0;
}

int FakeDevice::enumerate(v4l2_fmtdesc& entry) const {
  const std::uint32_t type =
      isMultiPlanar() ? V4L2_BUF_TYPE_VIDEO_CAPTURE_MPLANE : V4L2_BUF_TYPE_VIDEO_CAPTURE;
  if (entry.type != type || entry.index >= formats.size()) return EINVAL;
  entry.pixelformat = formats[entry.index].code;
  const auto& description = formats[entry.index].description;
  std::copy_n(description.begin(), std::min(description.size(), sizeof(entry.description) - 1),
              std::begin(entry.description));
  return 0;
}

int FakeDevice::enumerate(v4l2_frmsizeenum& entry) const {
  const FakeFormat* const known = find(entry.pixel_format);
  if (!known || entry.index >= (known->isRange ? 1 : known->sizes.size())) return EINVAL;
  if (known->isRange) {
    entry.type = V4L2_FRMSIZE_TYPE_STEPWISE;
    entry.stepwise = {known->sizes.front().first,  known->sizes.back().first,  2,
                      known->sizes.front().second, known->sizes.back().second, 2};
  } else {
    entry.type = V4L2_FRMSIZE_TYPE_DISCRETE;
    entry.discrete = {known->sizes[entry.index].first, known->sizes[entry.index].second};
  }
  return 0;
}

int FakeDevice::enumerate(v4l2_frmivalenum& entry) const {
  const FakeFormat* const known = find(entry.pixel_format);
  if (!known || entry.index >= (known->isRange ? 1 : known->intervals.size())) return EINVAL;
  if (known->isRange) {
    entry.type = V4L2_FRMIVAL_TYPE_STEPWISE;
    entry.stepwise = {known->intervals.front(), known->intervals.back(), {1, 1}};
  } else {
    entry.type = V4L2_FRMIVAL_TYPE_DISCRETE;
    entry.discrete = known->intervals[entry.index];
  }
  return 0;
}

int FakeDevice::format(unsigned long request, v4l2_format& format) {
  v4l2_pix_format& single = format.fmt.pix;
  v4l2_pix_format_mplane& multi = format.fmt.pix_mp;
  std::uint32_t code = isMultiPlanar() ? multi.pixelformat : single.pixelformat;
  std::uint32_t width = isMultiPlanar() ? multi.width : single.width;
  std::uint32_t height = isMultiPlanar() ? multi.height : single.height;
  if (request == VIDIOC_G_FMT || doesInsist || signal || !find(code)) {
    code = formats.front().code;
    std::tie(width, height) = formats.front().sizes.front();
  }
  if (request == VIDIOC_S_FMT) {
    code_ = code;
    width_ = width;
    height_ = height;
  }
  const bool isPlanar = code == V4L2_PIX_FMT_NV12 || code == V4L2_PIX_FMT_NV12M;
  const std::uint32_t row = code == V4L2_PIX_FMT_MJPEG ? 0 : width * (isPlanar ? 1 : 2) + padding;
  if (isMultiPlanar()) {
    multi = {};
    multi.width = width;
    multi.height = height;
    multi.pixelformat = code;
    multi.colorspace = colorspace;
    multi.quantization = static_cast<std::uint8_t>(quantization);
    multi.num_planes = static_cast<std::uint8_t>(planes);
    for (std::uint32_t i = 0; i < planes; ++i)
      multi.plane_fmt[i].bytesperline = row;
  } else {
    single = {};
    single.width = width;
    single.height = height;
    single.pixelformat = code;
    single.bytesperline = row;
    single.colorspace = colorspace;
    single.quantization = quantization;
    single.priv = V4L2_PIX_FMT_PRIV_MAGIC;
  }
  return 0;
}

int FakeDevice::buffers(const void* file, v4l2_requestbuffers& request) {
  owner_ = file;
  request.count = std::max(request.count, 2U);
  for (std::uint32_t i = 0; i < request.count; ++i) {
    for (std::uint32_t plane = 0; plane < planes; ++plane) {
      // Of two planes the first has luma, the second half as many bytes of colour.
      const std::size_t size = planes == 1 ? pictureSize() : pictureSize() * (plane == 0 ? 2 : 1) / 3;
      memory_.push_back(std::make_shared<std::vector<std::uint8_t>>(size));
    }
  }
  return 0;
}

int FakeDevice::take(v4l2_buffer& buffer) {
  drainSignal();
  if (filled_.empty()) return EAGAIN;
  const Filled filled = filled_.front();
  filled_.pop_front();
  if (!filled_.empty()) wakeUp();
  buffer.index = filled.index;
  buffer.flags = filled.flags;
  if (!isMultiPlanar()) {
    buffer.bytesused = filled.used;
    return 0;
  }
  std::uint32_t left = filled.used;
  for (std::uint32_t plane = 0; plane < planes; ++plane) {
    const auto size = static_cast<std::uint32_t>(memory_[filled.index * planes + plane]->size());
    buffer.m.planes[plane].bytesused = std::min(left, size);
    left -= buffer.m.planes[plane].bytesused;
  }
  return 0;
}

std::pair<std::unique_ptr<DeviceFile>, int> FakeDeviceCalls::open(const std::string& path) {
  if (const auto refusal = refusals.find(path); refusal != refusals.end()) return {nullptr, refusal->second};
  const auto found = devices.find(path);
  if (found == devices.end()) return {nullptr, ENOENT};
  if (found->second->isUnplugged_) return {nullptr, ENODEV};
  return {std::make_unique<FakeDeviceFile>(found->second), 0};
}

bool FakeDeviceCalls::areAllRefused() const {
  return !devices.empty() && std::all_of(devices.begin(), devices.end(), [this](auto& each) {
    const auto refusal = refusals.find(each.first);
    return refusal != refusals.end() && refusal->second == EACCES;
  });
}

}  // namespace camera_test
