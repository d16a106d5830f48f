// The played source keeps the promises of real ones.
#include <algorithm>
#include <vector>

#include "tests/camera/FakeFrameSource.h"
#include "tests/camera/FrameSourceContract.h"

namespace contract {
namespace {

using platform_linux::Camera;

class FakeStage final : public FrameSourceStage {
 public:
  platform_linux::FrameSource& source() override { return source_; }
  platform_linux::CameraLoop& loop() override { return loop_; }
  void onLoop(const std::function<void()>& action) override {
    action();
    loop_.run();
  }
  void told() override {}
  bool runUntil(const std::function<bool()>& condition) override {
    if (!std::exchange(isShown_, true)) source_.show(cameras_);
    for (int turn = 0; turn < 100; ++turn) {
      loop_.advance(std::chrono::milliseconds{33});
      if (condition()) return true;
      source_.deliver({0, 0, 0});
    }
    return false;
  }

  void plugIn(const std::string& name) override {
    cameras_.push_back({.uniqueID = name,
                        .localizedName = name,
                        .serial = ++serials_,
                        .modes = {{picture::PixelFormat::MJPG, 640, 480, {30, 1}}}});
    show();
  }
  void unplug(const std::string& name) override {
    std::erase_if(cameras_, [&](auto& each) { return each.uniqueID == name; });
    show();
  }
  void occupy(const std::string& name) override { source_.busy.insert(name); }
  void breakDown(const std::string&) override { source_.endStreams(EIO); }
  void changePictures(const std::string&) override {
    cameras_.at(0).modes = {{picture::PixelFormat::MJPG, 320, 240, {30, 1}}};
    show();
  }

 private:
  void show() {
    if (isShown_) source_.show(cameras_);
  }

  camera_test::FakeCameraLoop loop_;
  camera_test::FakeFrameSource source_;
  std::vector<Camera> cameras_;
  std::uint64_t serials_ = 0;
  bool isShown_ = false;  // once the source is asked
};

std::unique_ptr<FrameSourceStage> playedSource() {
  return std::make_unique<FakeStage>();
}

INSTANTIATE_TEST_SUITE_P(Fake, FrameSourceContract, testing::Values(&playedSource));

}  // namespace
}  // namespace contract
