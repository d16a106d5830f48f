// The kernel's devices, played, keep the promises of a source of frames.
#include <map>

#include "platform/linux/camera/v4l2/DeviceFrameSource.h"
#include "tests/camera/FrameSourceContract.h"
#include "tests/camera/v4l2/FakeDevices.h"
#include "tests/camera/v4l2/ManualLoop.h"

namespace contract {
namespace {

using camera_test::FakeDevice;
using camera_test::FakeDeviceCalls;
using camera_test::FakeDeviceFolder;

/// Grabbers, as their pictures may change.
class DeviceStage final : public FrameSourceStage {
 public:
  platform_linux::FrameSource& source() override { return source_; }
  platform_linux::CameraLoop& loop() override { return loop_; }
  void onLoop(const std::function<void()>& action) override {
    action();
    loop_.run();
  }
  void told() override {}
  bool runUntil(const std::function<bool()>& condition) override {
    isRunning_ = true;
    for (int turn = 0; turn < 100; ++turn) {
      loop_.run();
      if (condition()) return true;
      for (const auto& [path, device] : calls_->devices)
        device->deliver(std::vector<std::uint8_t>(device->pictureSize(), 7));
    }
    return false;
  }

  void plugIn(const std::string& name) override {
    const auto number = numbers_.try_emplace(name, static_cast<unsigned>(numbers_.size())).first->second;
    platform_linux::DeviceEntry entry;
    entry.path = pathOf(name);
    entry.number = number;
    entry.instance = std::to_string(++pluggings_);
    entry.busPath = "usb-" + name;
    entry.product = name;
    const auto device = std::make_shared<FakeDevice>();
    device->signal = {4, 2};
    calls_->devices[entry.path] = device;
    folder_->entries.push_back(entry);
    if (isRunning_) folder_->changed();
  }
  void unplug(const std::string& name) override {
    const std::string path = pathOf(name);
    calls_->devices.at(path)->unplug();
    calls_->devices.erase(path);
    std::erase_if(folder_->entries, [&](auto& each) { return each.path == path; });
    folder_->gone(path);
  }
  void occupy(const std::string& name) override { device(name).occupy(); }
  void breakDown(const std::string& name) override { device(name).failures[VIDIOC_DQBUF] = EIO; }
  void changePictures(const std::string& name) override { device(name).changeSignal(8, 4); }

 private:
  std::string pathOf(const std::string& name) { return "/dev/video" + std::to_string(numbers_.at(name)); }
  FakeDevice& device(const std::string& name) { return *calls_->devices.at(pathOf(name)); }
  std::unique_ptr<platform_linux::DeviceCalls> givenCalls() {
    auto calls = std::make_unique<FakeDeviceCalls>();
    calls_ = calls.get();
    return calls;
  }
  std::unique_ptr<platform_linux::DeviceFolder> givenFolder() {
    auto folder = std::make_unique<FakeDeviceFolder>();
    folder_ = folder.get();
    return folder;
  }

  camera_test::ManualLoop loop_;
  FakeDeviceCalls* calls_ = nullptr;
  FakeDeviceFolder* folder_ = nullptr;
  platform_linux::DeviceFrameSource source_{givenCalls(), givenFolder()};
  std::map<std::string, unsigned> numbers_;
  int pluggings_ = 0;
  bool isRunning_ = false;  // the folder is followed
};

std::unique_ptr<FrameSourceStage> devices() {
  return std::make_unique<DeviceStage>();
}

INSTANTIATE_TEST_SUITE_P(Devices, FrameSourceContract, testing::Values(&devices));

}  // namespace
}  // namespace contract
