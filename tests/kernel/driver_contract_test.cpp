// Real drivers keep the promises of a source of frames: a grabber of the kernel's test driver and webcams at
// the USB, all of which are plugged in and pulled here. For the emulated machine only, where both drivers are
// loaded: scenes/contract_scene.py.

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <linux/videodev2.h>
#include <memory>
#include <optional>
#include <spawn.h>
#include <stdexcept>
#include <string>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>
#include <utility>
#include <vector>

#include "platform/linux/base/FileDescriptor.h"
#include "platform/linux/camera/v4l2/DeviceCalls.h"
#include "platform/linux/camera/v4l2/DeviceFrameSource.h"
#include "tests/camera/ThreadedStage.h"

namespace contract {
namespace {

namespace fs = std::filesystem;

/// How long an emulated machine may take for anything.
constexpr std::chrono::seconds kPatience{60};

/// The files of the devices that a driver calls so.
std::vector<std::string> pathsOf(const std::string& card) {
  std::vector<std::string> paths;
  for (const auto& path : platform_linux::devicePaths()) {
    std::ifstream file("/sys/class/video4linux/" + fs::path(path).filename().string() + "/name");
    std::string name;
    if (std::getline(file, name) && name.starts_with(card)) paths.push_back(path);
  }
  return paths;
}

/// Returns when these files have gone and udev has told so: a device that comes at once to the same file is
/// not taken for the old one then.
void awaitRemoval(const std::vector<std::string>& paths) {
  std::string words;
  for (const auto& path : paths)
    words += " " + path;
  const std::string commands =
      "udevadm wait --timeout=30 --removed" + words + " && udevadm settle --timeout=30";
  if (!paths.empty() && std::system(commands.c_str()) != 0) throw std::runtime_error("still there:" + words);
}

/// A device of the kernel, open for its settings.
class OpenDevice {
 public:
  explicit OpenDevice(const std::string& path) : file_(open(path.c_str(), O_RDWR | O_CLOEXEC)) {
    if (!file_) throw std::system_error(errno, std::generic_category(), path);
  }

  void ask(unsigned long request, void* argument) const {
    if (ioctl(file_.get(), request, argument) != 0)
      throw std::system_error(errno, std::generic_category(), "ioctl");
  }
  void set(const std::string& control, int value) const {
    v4l2_control setting{find(control).id, value};
    ask(VIDIOC_S_CTRL, &setting);
  }
  /// The number of a menu's first item that begins so.
  [[nodiscard]] int item(const std::string& control, const std::string& beginning) const {
    const v4l2_queryctrl menu = find(control);
    for (int index = menu.minimum; index <= menu.maximum; ++index) {
      v4l2_querymenu item{};
      item.id = menu.id;
      item.index = static_cast<std::uint32_t>(index);
      if (ioctl(file_.get(), VIDIOC_QUERYMENU, &item) != 0) continue;
      if (std::string(reinterpret_cast<const char*>(item.name)).starts_with(beginning)) return index;
    }
    throw std::runtime_error(control + " has no item " + beginning);
  }

 private:
  [[nodiscard]] v4l2_queryctrl find(const std::string& name) const {
    v4l2_queryctrl control{};
    control.id = V4L2_CTRL_FLAG_NEXT_CTRL;
    while (ioctl(file_.get(), VIDIOC_QUERYCTRL, &control) == 0) {
      if (name == reinterpret_cast<const char*>(control.name)) return control;
      control.id |= V4L2_CTRL_FLAG_NEXT_CTRL;
    }
    throw std::runtime_error("no control is called " + name);
  }

  platform_linux::FileDescriptor file_;
};

/// The test driver's only device, an HDMI grabber.
class Grabber {
 public:
  Grabber() {
    if (fs::exists(std::string(kDriver) + kDevice)) unplug();
  }
  Grabber(const Grabber&) = delete;
  Grabber& operator=(const Grabber&) = delete;
  ~Grabber() {
    if (fs::exists(std::string(kDriver) + kDevice)) unplug();
  }

  void plugIn() {
    tellDriver("bind");
    send("640x480p");
  }
  void unplug() {
    holder_.reset();
    const auto paths = pathsOf(kCard);
    tellDriver("unbind");
    awaitRemoval(paths);
  }
  /// Pictures of that size come in from now on, "p" for whole ones.
  void send(const std::string& size) {
    constexpr int kSelected = 4;  // of the driver's ways to make up a signal
    const OpenDevice device(path());
    device.set("DV Timings", device.item("DV Timings", size));
    device.set("DV Timings Signal Mode", kSelected);
  }
  /// Somebody else has reserved buffers.
  void occupy() {
    holder_ = std::make_unique<OpenDevice>(path());
    v4l2_requestbuffers buffers{};
    buffers.count = 2;
    buffers.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    buffers.memory = V4L2_MEMORY_MMAP;
    holder_->ask(VIDIOC_REQBUFS, &buffers);
  }
  void breakDown() { OpenDevice(path()).set("Inject Fatal Streaming Error", 1); }

  static constexpr const char* kCard = "vivid";

 private:
  static constexpr const char* kDriver = "/sys/bus/platform/drivers/vivid/";
  static constexpr const char* kDevice = "vivid.0";

  static void tellDriver(const std::string& what) {
    std::ofstream file(kDriver + what);
    file << kDevice << std::flush;
    if (!file) throw std::runtime_error("vivid does not " + what);
  }
  static std::string path() { return pathsOf(kCard).at(0); }

  std::unique_ptr<OpenDevice> holder_;
};

/// A webcam at the machine's USB, as long as the program runs that plays it.
class UsbCamera {
 public:
  UsbCamera() {
    const std::array arguments{const_cast<char*>("sh"), const_cast<char*>("-c"),
                               std::getenv("PLAY_USB_CAMERA"), static_cast<char*>(nullptr)};
    if (const int error = posix_spawnp(&process_, "sh", nullptr, nullptr, arguments.data(), environ))
      throw std::system_error(error, std::generic_category(), "sh");
  }
  UsbCamera(const UsbCamera&) = delete;
  UsbCamera& operator=(const UsbCamera&) = delete;
  ~UsbCamera() {
    const auto paths = pathsOf(kTitle);
    kill(process_, SIGKILL);
    waitpid(process_, nullptr, 0);
    awaitRemoval(paths);
  }

  static constexpr const char* kTitle = "Rig Webcam";

 private:
  pid_t process_ = 0;
};

/// "desk" is the grabber, any other one a webcam.
class DriverStage final : public ThreadedStage {
 public:
  DriverStage() : ThreadedStage(kPatience) {}
  ~DriverStage() override { endLoop(); }
  platform_linux::FrameSource& source() override { return *source_; }

  [[nodiscard]] std::string titleOf(const std::string& name) const override {
    return isGrabber(name) ? Grabber::kCard : UsbCamera::kTitle;
  }
  void plugIn(const std::string& name) override {
    if (isGrabber(name))
      grabber_.plugIn();
    else
      webcam_.emplace();
  }
  void unplug(const std::string& name) override {
    if (isGrabber(name))
      grabber_.unplug();
    else
      webcam_.reset();
  }
  void occupy(const std::string&) override { grabber_.occupy(); }
  void breakDown(const std::string&) override { grabber_.breakDown(); }
  void changePictures(const std::string&) override { grabber_.send("720x576p"); }

 private:
  static bool isGrabber(const std::string& name) { return name == "desk"; }

  Grabber grabber_;
  std::optional<UsbCamera> webcam_;
  const std::shared_ptr<platform_linux::DeviceFrameSource> source_ =
      std::make_shared<platform_linux::DeviceFrameSource>();
};

std::unique_ptr<FrameSourceStage> drivers() {
  return std::make_unique<DriverStage>();
}

INSTANTIATE_TEST_SUITE_P(Drivers, FrameSourceContract, testing::Values(&drivers));

}  // namespace
}  // namespace contract
