#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <future>
#include <mutex>

#include "platform/linux/camera/CameraThread.h"
#include "tests/camera/FrameSourceContract.h"

namespace contract {

/// A stage whose source lives on a thread of its own, as in the program, and whose cameras deliver by
/// themselves.
class ThreadedStage : public FrameSourceStage {
 public:
  /// `patience`: how long anything may take.
  explicit ThreadedStage(std::chrono::seconds patience) : patience_(patience) {}

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
      if (!happened_.wait_for(lock, patience_, [&] { return events_ != before; })) return false;
    }
  }

 protected:
  /// To be called before the source is destroyed.
  void endLoop() {
    loop_.end([] {});
  }

 private:
  int events() {
    const std::scoped_lock lock(mutex_);
    return events_;
  }

  const std::chrono::seconds patience_;
  std::mutex mutex_;  // guards what follows
  std::condition_variable happened_;
  int events_ = 0;

  platform_linux::CameraThread loop_;
};

}  // namespace contract
