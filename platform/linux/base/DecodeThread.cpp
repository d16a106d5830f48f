#include "platform/linux/base/DecodeThread.h"

#include <utility>

namespace platform_linux {

DecodeThread::~DecodeThread() {
  {
    const std::lock_guard lock(mutex_);
    ending_ = true;
  }
  changed_.notify_one();
  if (thread_.joinable()) thread_.join();
}

void DecodeThread::post(std::function<void()> job) {
  {
    const std::lock_guard lock(mutex_);
    jobs_.push_back(std::move(job));
    if (!thread_.joinable()) thread_ = std::thread([this] { run(); });
  }
  changed_.notify_one();
}

void DecodeThread::run() {
  for (;;) {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return ending_ || !jobs_.empty(); });
    if (ending_) return;
    const auto job = std::move(jobs_.front());
    jobs_.pop_front();
    lock.unlock();
    ++startedJobs_;
    job();
  }
}

}  // namespace platform_linux
