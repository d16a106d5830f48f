// Measures the cameras without PipeWire on whatever video devices this machine has, in milliseconds
// (medians): how long the list of cameras takes from nothing, and of each camera how long the first frame
// takes from its opening, through the program's own source and by the bare calls of the driver's interface,
// in turn.
//   device_timer [ROUNDS]

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <fcntl.h>
#include <linux/videodev2.h>
#include <poll.h>
#include <stdexcept>
#include <string>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <system_error>
#include <utility>
#include <vector>

#include "platform/linux/base/FileDescriptor.h"
#include "platform/linux/camera/v4l2/DeviceFrameSource.h"
#include "tests/support/cameras/SourceCameras.h"

namespace {

using namespace platform_linux;
using test_support::SourceCameras;
using Clock = std::chrono::steady_clock;

constexpr int kUsualRounds = 9;
constexpr int kPatience = 30'000;  // milliseconds

double millisecondsSince(Clock::time_point begin) {
  return std::chrono::duration<double, std::milli>(Clock::now() - begin).count();
}

double median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values.at(values.size() / 2);
}

void ask(const FileDescriptor& device, unsigned long request, void* argument) {
  if (ioctl(device.get(), request, argument) != 0)
    throw std::system_error(errno, std::generic_category(), "the driver");
}

/// Has the device fill one of four buffers, as the least program would.
void takeFrame(const FileDescriptor& device) {
  v4l2_format format{};
  format.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
  ask(device, VIDIOC_G_FMT, &format);
  ask(device, VIDIOC_S_FMT, &format);
  v4l2_requestbuffers buffers{};
  buffers.count = 4;
  buffers.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
  buffers.memory = V4L2_MEMORY_MMAP;
  ask(device, VIDIOC_REQBUFS, &buffers);
  std::vector<std::pair<void*, std::size_t>> areas;
  for (std::uint32_t i = 0; i < buffers.count; ++i) {
    v4l2_buffer buffer{};
    buffer.index = i;
    buffer.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    buffer.memory = V4L2_MEMORY_MMAP;
    ask(device, VIDIOC_QUERYBUF, &buffer);
    areas.emplace_back(mmap(nullptr, buffer.length, PROT_READ, MAP_SHARED, device.get(),
                            static_cast<off_t>(buffer.m.offset)),
                       buffer.length);
    ask(device, VIDIOC_QBUF, &buffer);
  }
  int type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
  ask(device, VIDIOC_STREAMON, &type);
  pollfd ready{device.get(), POLLIN, 0};
  poll(&ready, 1, kPatience);
  v4l2_buffer buffer{};
  buffer.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
  buffer.memory = V4L2_MEMORY_MMAP;
  ask(device, VIDIOC_DQBUF, &buffer);
  for (const auto& [area, length] : areas)
    munmap(area, length);
}

/// In the mode to which the device was set last.
double driversFirstFrame(const std::string& path) {
  const auto begin = Clock::now();
  const FileDescriptor device(open(path.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC));
  if (!device) throw std::system_error(errno, std::generic_category(), path);
  takeFrame(device);
  return millisecondsSince(begin);
}

double ourFirstFrame(SourceCameras& cameras, const Camera& camera, const CameraMode& mode) {
  const auto begin = Clock::now();
  if (!cameras.frame(camera, mode)) throw std::runtime_error(camera.localizedName + " gives no picture");
  return millisecondsSince(begin);
}

double list() {
  const auto begin = Clock::now();
  SourceCameras cameras(std::make_shared<DeviceFrameSource>());
  static_cast<void>(cameras.list());
  return millisecondsSince(begin);
}

/// The least pixels: what is measured is the way, not how fast a driver paints.
const CameraMode& smallestMode(const Camera& camera) {
  return *std::min_element(camera.modes.begin(), camera.modes.end(), [](const auto& a, const auto& b) {
    return a.width * a.height < b.width * b.height;
  });
}

void measure(SourceCameras& cameras, const Camera& camera, int rounds) {
  const CameraMode& mode = smallestMode(camera);
  std::vector<double> ours, drivers, differences;
  for (int round = 0; round < rounds; ++round) {
    ours.push_back(ourFirstFrame(cameras, camera, mode));
    drivers.push_back(driversFirstFrame(camera.place));
    differences.push_back(ours.back() - drivers.back());
  }
  std::printf("first frame of %s (%ux%u)  ours %.1f  the driver's %.1f  difference %.1f\n",
              camera.localizedName.c_str(), mode.width, mode.height, median(ours), median(drivers),
              median(differences));
}

}  // namespace

int main(int argc, char** argv) try {
  if (devicePaths().empty()) throw std::runtime_error("this machine has no video devices");
  const int rounds = argc > 1 ? std::max(std::atoi(argv[1]), 1) : kUsualRounds;
  std::vector<double> lists;
  for (int round = 0; round < rounds; ++round)
    lists.push_back(list());
  SourceCameras cameras(std::make_shared<DeviceFrameSource>());
  const auto all = cameras.list();
  std::printf("list of %zu cameras  %.1f\n", all.size(), median(lists));
  for (const Camera& camera : all)
    measure(cameras, camera, rounds);
  return EXIT_SUCCESS;
} catch (const std::exception& error) {
  std::fprintf(stderr, "device_timer: %s\n", error.what());
  return EXIT_FAILURE;
}
