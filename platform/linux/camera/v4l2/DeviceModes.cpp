#include "platform/linux/camera/v4l2/DeviceModes.h"

#include <algorithm>
#include <cerrno>
#include <compare>
#include <cstring>
#include <utility>

#include "platform/linux/camera/v4l2/DeviceFormats.h"

namespace platform_linux {
namespace {

/// No camera has more of a kind; a driver that always has one more is not followed.
constexpr std::uint32_t kMostEntries = 256;

struct Size {
  std::uint32_t width = 0;
  std::uint32_t height = 0;
};

template <std::size_t length>
std::string textOf(const std::uint8_t (&field)[length]) {
  const auto* const end = std::find(std::begin(field), std::end(field), 0);
  return {std::begin(field), end};
}

// As the driver describes it, or by its four characters.
std::string nameOf(const v4l2_fmtdesc& format) {
  if (std::string name = textOf(format.description); !name.empty()) return name;
  std::string name;
  for (int shift = 0; shift < 32; shift += 8)
    name += static_cast<char>(format.pixelformat >> shift & 0x7f);
  return name;
}

/// What the device is set to.
Size currentSize(DeviceFile& device, std::uint32_t type, std::uint32_t code) {
  v4l2_format format{};
  format.type = type;
  if (device.control(VIDIOC_G_FMT, &format) != 0) return {};
  const bool isMultiPlanar = type == V4L2_BUF_TYPE_VIDEO_CAPTURE_MPLANE;
  // Whether that size goes with this format, too.
  (isMultiPlanar ? format.fmt.pix_mp.pixelformat : format.fmt.pix.pixelformat) = code;
  if (device.control(VIDIOC_TRY_FMT, &format) != 0) return {};
  if (isMultiPlanar) return {format.fmt.pix_mp.width, format.fmt.pix_mp.height};
  return {format.fmt.pix.width, format.fmt.pix.height};
}

std::vector<Size> readSizes(DeviceFile& device, std::uint32_t type, std::uint32_t code) {
  std::vector<Size> sizes;
  for (std::uint32_t i = 0; i < kMostEntries; ++i) {
    v4l2_frmsizeenum entry{};
    entry.index = i;
    entry.pixel_format = code;
    if (device.control(VIDIOC_ENUM_FRAMESIZES, &entry) != 0) break;
    if (entry.type == V4L2_FRMSIZE_TYPE_DISCRETE) {
      sizes.push_back({entry.discrete.width, entry.discrete.height});
      continue;
    }
    const Size largest{entry.stepwise.max_width, entry.stepwise.max_height};
    if (!meansAnySize(largest.width, largest.height)) sizes.push_back(largest);
    sizes.push_back(currentSize(device, type, code));
    return sizes;
  }
  // Drivers need not list sizes.
  if (sizes.empty()) sizes.push_back(currentSize(device, type, code));
  return sizes;
}

// A rate is the inverse of the time from frame to frame.
FrameRate rateOf(const v4l2_fract& interval) {
  if (interval.numerator == 0 || interval.denominator == 0) return {};
  return {interval.denominator, interval.numerator};
}

std::vector<FrameRate> readRates(DeviceFile& device, std::uint32_t code, const Size& size) {
  std::vector<FrameRate> rates;
  for (std::uint32_t i = 0; i < kMostEntries; ++i) {
    v4l2_frmivalenum entry{};
    entry.index = i;
    entry.pixel_format = code;
    entry.width = size.width;
    entry.height = size.height;
    if (device.control(VIDIOC_ENUM_FRAMEINTERVALS, &entry) != 0) break;
    if (entry.type == V4L2_FRMIVAL_TYPE_DISCRETE) {
      rates.push_back(rateOf(entry.discrete));
      continue;
    }
    const FrameRate fastest = rateOf(entry.stepwise.min);
    if (!meansAnyRate(fastest)) rates.push_back(fastest);
    break;
  }
  if (rates.empty()) rates.push_back({});
  return rates;
}

}  // namespace

int readAbilities(DeviceFile& device, DeviceAbilities& abilities) {
  v4l2_capability capability{};
  if (const int error = device.control(VIDIOC_QUERYCAP, &capability)) return error;
  // What this device file can do; `capabilities` are those of all files of the hardware.
  const std::uint32_t able = (capability.capabilities & V4L2_CAP_DEVICE_CAPS) != 0 ? capability.device_caps
                                                                                   : capability.capabilities;
  constexpr std::uint32_t kConverter = V4L2_CAP_VIDEO_M2M | V4L2_CAP_VIDEO_M2M_MPLANE;
  abilities.card = textOf(capability.card);
  abilities.driver = textOf(capability.driver);
  abilities.isMultiPlanar = (able & V4L2_CAP_VIDEO_CAPTURE) == 0;
  // A device that is part of a pipeline of an image processor (V4L2_CAP_IO_MC) delivers nothing before
  // somebody who knows that processor has set it up.
  abilities.isCapture = (able & (V4L2_CAP_VIDEO_CAPTURE | V4L2_CAP_VIDEO_CAPTURE_MPLANE)) != 0 &&
                        (able & V4L2_CAP_STREAMING) != 0 && (able & (kConverter | V4L2_CAP_IO_MC)) == 0;
  return 0;
}

std::vector<OfferedFormat> readFormats(DeviceFile& device, std::uint32_t type) {
  std::vector<OfferedFormat> formats;
  for (std::uint32_t i = 0; i < kMostEntries; ++i) {
    v4l2_fmtdesc entry{};
    entry.index = i;
    entry.type = type;
    if (device.control(VIDIOC_ENUM_FMT, &entry) != 0) break;
    if ((entry.flags & V4L2_FMT_FLAG_EMULATED) == 0) formats.push_back({entry.pixelformat, nameOf(entry)});
  }
  return formats;
}

std::vector<CameraMode> readModes(DeviceFile& device, std::uint32_t type) {
  std::vector<CameraMode> modes;
  for (const auto& [code, name] : readFormats(device, type)) {
    const auto format = pixelFormatOfCode(code);
    if (!format) continue;
    for (const Size& size : readSizes(device, type, code)) {
      if (size.width == 0 || size.height == 0) continue;
      for (const FrameRate& rate : readRates(device, code, size)) {
        const CameraMode mode{*format, size.width, size.height, rate};
        if (std::find(modes.begin(), modes.end(), mode) == modes.end()) modes.push_back(mode);
      }
    }
  }
  return modes;
}

}  // namespace platform_linux
