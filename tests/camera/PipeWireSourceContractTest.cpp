// The cameras of a PipeWire daemon keep the promises of a source of frames.
#include <map>

#include "platform/linux/camera/pipewire/PipeWireFrameSource.h"
#include "tests/camera/PrivateDesktop.h"
#include "tests/camera/ThreadedStage.h"

namespace contract {
namespace {

constexpr std::chrono::seconds kPatience{10};

class DaemonStage final : public ThreadedStage {
 public:
  DaemonStage() : ThreadedStage(kPatience) {}
  ~DaemonStage() override {
    endLoop();
    camera_test::removeCameras();
  }
  platform_linux::FrameSource& source() override { return *source_; }

  void plugIn(const std::string& name) override {
    const auto known = cameras_.find(name);
    if (known != cameras_.end())
      known->second.ask("plug");
    else
      cameras_.emplace(name, camera_test::plugIn(name, "title=" + name + ",modes=MJPG:640x480@30"));
  }
  /// Daemons of before PipeWire 1 are silent of a program's node; the watchdog of sessions is for that.
  [[nodiscard]] bool areFailuresTold() const override { return false; }
  void unplug(const std::string& name) override { cameras_.at(name).ask("unplug"); }
  void occupy(const std::string& name) override { cameras_.at(name).ask("told-busy on"); }
  void breakDown(const std::string& name) override { cameras_.at(name).ask("error"); }
  void changePictures(const std::string& name) override { cameras_.at(name).ask("modes MJPG:320x240@30"); }

 private:
  std::map<std::string, camera_test::VirtualCamera> cameras_;
  const std::shared_ptr<platform_linux::PipeWireFrameSource> source_ =
      std::make_shared<platform_linux::PipeWireFrameSource>();
};

std::unique_ptr<FrameSourceStage> daemon() {
  return std::make_unique<DaemonStage>();
}

INSTANTIATE_TEST_SUITE_P(Daemon, FrameSourceContract, testing::Values(&daemon));

}  // namespace
}  // namespace contract
