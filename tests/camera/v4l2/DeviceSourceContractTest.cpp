// The kernel's devices, played, keep the promises of a source of frames.
#include <map>

#include "tests/camera/FrameSourceContract.h"
#include "tests/camera/v4l2/DeviceFixture.h"

namespace contract {
namespace {

using camera_test::FakeDevice;

/// Grabbers, as their pictures may change.
class DeviceStage final : public FrameSourceStage {
 public:
  platform_linux::FrameSource& source() override { return played_.source; }
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
      for (const auto& [path, device] : played_.calls->devices)
        device->deliver(std::vector<std::uint8_t>(device->pictureSize(), 7));
    }
    return false;
  }

  void plugIn(const std::string& name) override {
    const auto number = numbers_.try_emplace(name, static_cast<unsigned>(numbers_.size())).first->second;
    played_.plug(number, "usb-" + name, name)->signal = {4, 2};
    if (isRunning_) played_.folder->changed();
  }
  void unplug(const std::string& name) override {
    played_.unplug(numbers_.at(name));
    played_.folder->gone(pathOf(name));
  }
  void occupy(const std::string& name) override { device(name).occupy(); }
  void breakDown(const std::string& name) override { device(name).failures[VIDIOC_DQBUF] = EIO; }
  void changePictures(const std::string& name) override { device(name).changeSignal(8, 4); }

 private:
  std::string pathOf(const std::string& name) {
    return camera_test::PlayedDevices::pathOf(numbers_.at(name));
  }
  FakeDevice& device(const std::string& name) { return *played_.calls->devices.at(pathOf(name)); }

  camera_test::ManualLoop loop_;
  camera_test::PlayedDevices played_;
  std::map<std::string, unsigned> numbers_;
  bool isRunning_ = false;  // the folder is followed
};

std::unique_ptr<FrameSourceStage> devices() {
  return std::make_unique<DeviceStage>();
}

INSTANTIATE_TEST_SUITE_P(Devices, FrameSourceContract, testing::Values(&devices));

}  // namespace
}  // namespace contract
