// The promises of the capture ports, kept by the cameras of a desktop and by the fakes alike.
#include <cerrno>
#include <map>

#include "platform/linux/camera/Cameras.h"
#include "tests/camera/CameraFixture.h"
#include "tests/camera/PrivateDesktop.h"
#include "tests/contract/AVFoundationContract.h"
#include "tests/fakes/FakeAVFoundation.h"

namespace contract {

namespace {

class RealCameras : public AVFoundationFactory {
 public:
  ~RealCameras() override {
    loop_.end();
    cameras_.reset();
    camera_test::removeCameras();
  }
  platform::AVFoundation& cameras() override { return *cameras_; }
  void plugIn(const std::string& identity, const std::string& title) override {
    const auto known = plugged_.find(identity);
    if (known != plugged_.end())
      known->second.ask("plug");
    else
      plugged_.emplace(identity, camera_test::plugIn(identity, description(title)));
  }
  void plugInSilent(const std::string& identity, const std::string& title) override {
    plugged_.emplace(identity, camera_test::plugIn(identity, description(title) + ",fault=stall:0"));
  }
  void unplug(const std::string& identity) override { plugged_.at(identity).ask("unplug"); }
  void wake() override {
    loop_.async([] {});
  }
  bool runUntil(const std::function<bool()>& condition) override {
    while (!condition())
      if (!loop_.runWhenWorkArrives()) return false;
    return true;
  }

 private:
  static std::string description(const std::string& title) {
    return "title=" + title + "," + camera_test::kMode;
  }

  fakes::Journal journal_;
  fakes::FakeMainLoop loop_;
  fakes::FakeNotificationCenter center_{journal_};
  fakes::FakeLog log_{journal_};
  std::unique_ptr<platform_linux::Cameras> cameras_ = camera_test::camerasOfTheDaemon(loop_, center_, log_);
  std::map<std::string, camera_test::VirtualCamera> plugged_;
};

/// The test is the capture service: it answers what is asked for while it runs.
class FakeCameras : public AVFoundationFactory {
 public:
  platform::AVFoundation& cameras() override { return cameras_; }
  void plugIn(const std::string& identity, const std::string& title) override {
    cameras_.devices.push_back(std::make_shared<fakes::FakeDevice>(identity, title));
  }
  /// Nothing is answered here before the main loop turns.
  void plugInSilent(const std::string& identity, const std::string& title) override {
    plugIn(identity, title);
  }
  void unplug(const std::string& identity) override {
    std::erase_if(cameras_.devices, [&](const auto& device) { return device->uniqueID() == identity; });
  }
  void wake() override {}
  bool runUntil(const std::function<bool()>& condition) override {
    std::thread([this] {
      for (const auto& output : cameras_.outputs)
        answer(*output);
    }).join();
    return condition();
  }

 private:
  void answer(fakes::FakePhotoOutput& output) {
    while (output.pending() > 0) {
      // A session waits for its camera to come back.
      if (output.isRunning() && !cameras_.deviceWithUniqueID(output.cameraID())) return;
      if (output.isRunning())
        output.deliver(std::make_shared<fakes::FakePhoto>(data_));
      else
        output.fail(ECANCELED);
    }
  }

  fakes::Journal journal_;
  fakes::FakeFileManager files_{journal_};
  std::shared_ptr<platform::NSData> data_ = std::make_shared<fakes::FakeData>(journal_, files_, "photo");
  fakes::FakeAVFoundation cameras_{journal_};
};

template <typename Factory>
std::unique_ptr<AVFoundationFactory> make() {
  return std::make_unique<Factory>();
}

INSTANTIATE_TEST_SUITE_P(Linux, AVFoundationContract, testing::Values(&make<RealCameras>));
INSTANTIATE_TEST_SUITE_P(Fake, AVFoundationContract, testing::Values(&make<FakeCameras>));

}  // namespace

}  // namespace contract
