// The cameras of a PipeWire daemon keep the promises of a source of frames.
#include <condition_variable>
#include <future>
#include <map>
#include <mutex>

#include "platform/linux/camera/CameraThread.h"
#include "platform/linux/camera/pipewire/PipeWireFrameSource.h"
#include "tests/camera/FrameSourceContract.h"
#include "tests/camera/PrivateDesktop.h"

namespace contract {
namespace {

constexpr std::chrono::seconds kPatience{10};

class DaemonStage final : public FrameSourceStage {
 public:
  ~DaemonStage() override {
    loop_.end([] {});
    camera_test::removeCameras();
  }
  platform_linux::FrameSource& source() override { return *source_; }
  platform_linux::CameraLoop& loop() override { return loop_; }
  void onLoop(const std::function<void()>& action) override {
    std::promise<void> done;
    loop_.post([&] {
      action();
      done.set_value();
    });
    done.get_future().wait();
  }
  void told() override {
    const std::scoped_lock lock(mutex_);
    ++events_;
    happened_.notify_all();
  }
  bool runUntil(const std::function<bool()>& condition) override {
    for (;;) {
      const int before = events();
      bool holds = false;
      onLoop([&] { holds = condition(); });
      if (holds) return true;
      std::unique_lock lock(mutex_);
      if (!happened_.wait_for(lock, kPatience, [&] { return events_ != before; })) return false;
    }
  }

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
  void occupy(const std::string& name) override { cameras_.at(name).ask("busy on"); }
  void breakDown(const std::string& name) override { cameras_.at(name).ask("error"); }
  void changePictures(const std::string& name) override { cameras_.at(name).ask("modes MJPG:320x240@30"); }

 private:
  int events() {
    const std::scoped_lock lock(mutex_);
    return events_;
  }

  std::mutex mutex_;  // guards what follows
  std::condition_variable happened_;
  int events_ = 0;

  std::map<std::string, camera_test::VirtualCamera> cameras_;
  const std::shared_ptr<platform_linux::PipeWireFrameSource> source_ =
      std::make_shared<platform_linux::PipeWireFrameSource>();
  platform_linux::CameraThread loop_;
};

std::unique_ptr<FrameSourceStage> daemon() {
  return std::make_unique<DaemonStage>();
}

INSTANTIATE_TEST_SUITE_P(Daemon, FrameSourceContract, testing::Values(&daemon));

}  // namespace
}  // namespace contract
