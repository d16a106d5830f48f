#include "platform/linux/camera/v4l2/DeviceBuffers.h"

#include <algorithm>
#include <cerrno>

#include "platform/linux/camera/v4l2/DeviceFormats.h"
#include "platform/linux/camera/v4l2/DeviceModes.h"

namespace platform_linux {
namespace {

/// One is copied out, one waits, two are on their way; drivers that need more say so.
constexpr std::uint32_t kBuffers = 4;

template <typename Format>
void readCommon(const Format& format, DeviceFormat& agreed) {
  agreed.frame.width = format.width;
  agreed.frame.height = format.height;
}

/// What the device is set to, in `agreed`; false when it cannot be decoded here.
bool readFormat(const v4l2_format& format, DeviceFormat& agreed) {
  agreed.type = format.type;
  const bool isMultiPlanar = format.type == V4L2_BUF_TYPE_VIDEO_CAPTURE_MPLANE;
  const auto known =
      pixelFormatOfCode(isMultiPlanar ? format.fmt.pix_mp.pixelformat : format.fmt.pix.pixelformat);
  if (!known) return false;
  agreed.frame.format = *known;
  if (isMultiPlanar) {
    const v4l2_pix_format_mplane& picture = format.fmt.pix_mp;
    readCommon(picture, agreed);
    applyColors({picture.colorspace, picture.ycbcr_enc, picture.quantization}, agreed.frame);
    for (std::size_t i = 0; i < std::min<std::size_t>(picture.num_planes, VIDEO_MAX_PLANES); ++i)
      agreed.strides[i] = picture.plane_fmt[i].bytesperline;
  } else {
    const v4l2_pix_format& picture = format.fmt.pix;
    readCommon(picture, agreed);
    // The newer fields count only for drivers that know them (V4L2_PIX_FMT_PRIV_MAGIC).
    const bool isNew = picture.priv == V4L2_PIX_FMT_PRIV_MAGIC;
    applyColors({picture.colorspace, isNew ? picture.ycbcr_enc : 0U, isNew ? picture.quantization : 0U},
                agreed.frame);
    agreed.strides[0] = picture.bytesperline;
  }
  return true;
}

void setRate(DeviceFile& device, std::uint32_t type, const FrameRate& rate) {
  if (!rate.stated()) return;
  v4l2_streamparm parameters{};
  parameters.type = type;
  parameters.parm.capture.timeperframe = {rate.denominator, rate.numerator};
  // Devices that cannot choose their rate refuse: they have the one that they have.
  [[maybe_unused]] const int refused = device.control(VIDIOC_S_PARM, &parameters);
}

}  // namespace

int setFormat(DeviceFile& device, std::uint32_t type, const CameraMode& mode, DeviceFormat& agreed) {
  for (const auto& [code, name] : readFormats(device, type)) {
    if (pixelFormatOfCode(code) != mode.format) continue;
    v4l2_format format{};
    format.type = type;
    if (type == V4L2_BUF_TYPE_VIDEO_CAPTURE_MPLANE) {
      format.fmt.pix_mp.width = mode.width;
      format.fmt.pix_mp.height = mode.height;
      format.fmt.pix_mp.pixelformat = code;
    } else {
      format.fmt.pix.width = mode.width;
      format.fmt.pix.height = mode.height;
      format.fmt.pix.pixelformat = code;
      format.fmt.pix.priv = V4L2_PIX_FMT_PRIV_MAGIC;
    }
    if (const int error = device.control(VIDIOC_S_FMT, &format)) return error;
    if (!readFormat(format, agreed)) return EINVAL;
    setRate(device, type, mode.rate);
    return 0;
  }
  // A device that lists nothing any more was unplugged.
  v4l2_capability capability{};
  const int error = device.control(VIDIOC_QUERYCAP, &capability);
  return error != 0 ? error : EINVAL;
}

DeviceBuffers::~DeviceBuffers() {
  std::uint32_t type = format_.type;
  // Closing the device does the same; done here, pictures stop before their memory goes.
  [[maybe_unused]] const int gone = device_.control(VIDIOC_STREAMOFF, &type);
}

int DeviceBuffers::start() {
  v4l2_requestbuffers request{};
  request.count = kBuffers;
  request.type = format_.type;
  request.memory = V4L2_MEMORY_MMAP;
  if (const int error = device_.control(VIDIOC_REQBUFS, &request)) return error;
  if (request.count == 0) return ENOMEM;
  for (std::uint32_t i = 0; i < request.count; ++i)
    if (const int error = mapAll(i)) return error;
  for (std::uint32_t i = 0; i < request.count; ++i)
    if (const int error = giveBack(i)) return error;
  std::uint32_t type = format_.type;
  return device_.control(VIDIOC_STREAMON, &type);
}

void DeviceBuffers::prepare(Description& description, std::uint32_t index) const {
  description.buffer.index = index;
  description.buffer.type = format_.type;
  description.buffer.memory = V4L2_MEMORY_MMAP;
  if (!isMultiPlanar()) return;
  description.buffer.m.planes = description.planes.data();
  description.buffer.length = static_cast<std::uint32_t>(description.planes.size());
}

int DeviceBuffers::mapAll(std::uint32_t index) {
  Description description;
  prepare(description, index);
  if (const int error = device_.control(VIDIOC_QUERYBUF, &description.buffer)) return error;
  Blocks blocks;
  if (isMultiPlanar()) {
    const auto count = std::min<std::size_t>(description.buffer.length, VIDEO_MAX_PLANES);
    for (std::size_t i = 0; i < count; ++i)
      blocks.push_back(device_.map(description.planes[i].length, description.planes[i].m.mem_offset));
  } else {
    blocks.push_back(device_.map(description.buffer.length, description.buffer.m.offset));
  }
  if (std::any_of(blocks.begin(), blocks.end(), [](auto& block) { return !block; })) return ENOMEM;
  buffers_.push_back(std::move(blocks));
  return 0;
}

int DeviceBuffers::take(Picture& picture) {
  Description description;
  prepare(description, 0);
  if (const int error = device_.control(VIDIOC_DQBUF, &description.buffer)) return error;
  if (description.buffer.index >= buffers_.size()) return EIO;
  picture.index = description.buffer.index;
  readBlocks(description, picture);
  picture.isUsable = (description.buffer.flags & V4L2_BUF_FLAG_ERROR) == 0 && picture.blockCount > 0 &&
                     !picture.memory[0].bytes.empty();
  return 0;
}

void DeviceBuffers::readBlocks(const Description& description, Picture& picture) const {
  const Blocks& mapped = buffers_[description.buffer.index];
  picture.blockCount = mapped.size();
  for (std::size_t i = 0; i < mapped.size(); ++i) {
    const v4l2_plane& plane = description.planes[i];
    const std::size_t used = isMultiPlanar() ? plane.bytesused : description.buffer.bytesused;
    // What the driver states is not trusted to lie inside the memory. A plane's offset counts as used.
    const std::size_t end = std::min(used, mapped[i]->size());
    const std::size_t begin = isMultiPlanar() ? std::min<std::size_t>(plane.data_offset, end) : 0;
    picture.memory[i] = {{mapped[i]->data() + begin, end - begin}, format_.strides[i]};
  }
}

int DeviceBuffers::giveBack(std::uint32_t index) {
  Description description;
  prepare(description, index);
  if (isMultiPlanar()) description.buffer.length = static_cast<std::uint32_t>(buffers_[index].size());
  return device_.control(VIDIOC_QBUF, &description.buffer);
}

}  // namespace platform_linux
