// Takes photos with the first camera, one after another, and prints for each the milliseconds from the
// request to the success callback: the PNG file is then durable on the disk.
//   shot_timer FOLDER COUNT

#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <numbers>
#include <string>

#include <glib.h>

#include "app/AppDelegate.h"
#include "capture/PhotoTaker.h"
#include "platform/linux/composition/LinuxPlatform.h"
#include "suite/Suite.h"

namespace {

using Clock = std::chrono::steady_clock;

/// Before the first request: the session has settled by then, so that requests are answered by the very next
/// frame.
constexpr std::chrono::milliseconds kSettled{1500};

/// Between two shots, at most. The next request comes at any moment of a frame's time alike, as a person's
/// does; asked for at once it would always just have missed a frame. A multiple of the usual frames' times.
constexpr std::chrono::milliseconds kLongestPause{200};

/// Parts of the longest pause that are spread evenly however many there are: multiples of the golden ratio.
std::chrono::milliseconds pauseAfter(int shot) {
  const double part = std::fmod(shot * std::numbers::phi, 1.0);
  return std::chrono::duration_cast<std::chrono::milliseconds>(part * kLongestPause);
}

class ShotTimer {
 public:
  ShotTimer(platform_linux::LinuxPlatform& desktop, suite::Suite& suite, int count)
      : ports_(desktop.ports()), suite_(suite), remaining_(count) {}

  bool begin() {
    const auto cameras = ports_.avFoundation.devicesWithMediaType(platform::AVMediaTypeVideo);
    if (cameras.empty()) return false;
    taker_ = camera_shot::PhotoTaker::make(
        ports_, suite_, cameras.front(), [this](const std::string&) { shotDone(); }, [this] { end(1); });
    taker_->startPreview();
    ports_.mainQueue.after(kSettled, [this] { take(); });
    return true;
  }

  int run() {
    g_main_loop_run(loop_.get());
    return status_;
  }

 private:
  void take() {
    requested_ = Clock::now();
    taker_->take();
  }
  void shotDone() {
    std::printf("%.2f\n", std::chrono::duration<double, std::milli>(Clock::now() - requested_).count());
    if (--remaining_ == 0) {
      end(0);
    } else {
      ports_.mainQueue.after(pauseAfter(remaining_), [this] { take(); });
    }
  }
  void end(int status) {
    status_ = status;
    g_main_loop_quit(loop_.get());
  }

  const platform::Platform& ports_;
  suite::Suite& suite_;
  int remaining_;
  int status_ = 1;
  Clock::time_point requested_;
  std::shared_ptr<camera_shot::PhotoTaker> taker_;
  std::unique_ptr<GMainLoop, decltype(&g_main_loop_unref)> loop_{g_main_loop_new(nullptr, FALSE),
                                                                 &g_main_loop_unref};
};

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) {
    std::fprintf(stderr, "Usage: shot_timer FOLDER COUNT\n");
    return 2;
  }
  const std::string tool = camera_shot::AppDelegate::kToolIdentifier;
  platform_linux::LinuxPlatform desktop(
      {"com.verrano.quillo.CameraShot", "quillo-camera-shot", "bench.ini", tool, {}});
  const auto settings = desktop.sharedSettings("bench-suite.ini", "Suite");
  const auto locations = desktop.sharedSettings("bench-locations.ini", "Locations");
  locations->setObject(argv[1], tool);
  suite::Suite suite(desktop.ports(), {*settings, *locations, *settings, "/dev/null", "/dev/null"}, tool);
  ShotTimer timer(desktop, suite, std::atoi(argv[2]));
  if (!timer.begin()) {
    std::fprintf(stderr, "shot_timer: no camera\n");
    return 1;
  }
  return timer.run();
}
