#include <chrono>
#include <future>
#include <memory>
#include <sys/eventfd.h>
#include <unistd.h>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/linux/base/FileDescriptor.h"
#include "platform/linux/camera/CameraThread.h"

namespace camera_test {
namespace {

using platform_linux::CameraLoop;
using platform_linux::CameraThread;
using platform_linux::FileDescriptor;
using testing::ElementsAre;
using namespace std::chrono_literals;

TEST(CameraThread, RunsTasksInTheirOrderAndNeverInline) {
  CameraThread loop;
  std::vector<int> order;
  std::promise<void> done;
  loop.post([&] {
    loop.post([&] { order.push_back(2); });
    loop.post([&] {
      order.push_back(3);
      done.set_value();
    });
    order.push_back(1);
  });
  done.get_future().wait();
  EXPECT_THAT(order, ElementsAre(1, 2, 3));
}

TEST(CameraThread, EndsWithItsLastTaskAndTakesNoMore) {
  CameraThread loop;
  int tasks = 0;
  loop.end([&] { ++tasks; });
  EXPECT_EQ(tasks, 1);
  loop.post([&] { ++tasks; });
  loop.end([&] { ++tasks; });
  EXPECT_EQ(tasks, 1);
}

TEST(CameraThread, TimersFireOnceAndNotWhenStopped) {
  CameraThread loop;
  std::promise<void> fired;
  std::unique_ptr<CameraLoop::Timer> kept;
  std::unique_ptr<CameraLoop::Timer> stopped;
  int times = 0;
  loop.post([&] {
    stopped = loop.timer([&] { ADD_FAILURE() << "it was stopped"; });
    stopped->startOnce(0ns);
    stopped->stop();
    kept = loop.timer([&] {
      // A timer may be started anew, and go, inside its own call.
      if (++times < 2) return kept->startOnce(1ms);
      kept.reset();
      fired.set_value();
    });
    kept->startOnce(1ms);
  });
  fired.get_future().wait();
  EXPECT_EQ(times, 2);
  loop.end([&] { stopped.reset(); });
}

TEST(CameraThread, WatchesADescriptorUntilTheWatchGoes) {
  CameraThread loop;
  const FileDescriptor first(::eventfd(1, EFD_CLOEXEC));
  const FileDescriptor second(::eventfd(1, EFD_CLOEXEC));
  std::vector<std::unique_ptr<CameraLoop::Watch>> watches;
  std::promise<void> quiet;
  int calls = 0;
  loop.post([&] {
    // Both can be read in the same turn: whichever is first takes away itself and the other.
    const auto ready = [&] {
      ++calls;
      watches.clear();
      loop.post([&] { quiet.set_value(); });
    };
    watches.push_back(loop.watch(first.get(), ready));
    watches.push_back(loop.watch(second.get(), ready));
  });
  quiet.get_future().wait();
  EXPECT_EQ(calls, 1);
}

}  // namespace
}  // namespace camera_test
