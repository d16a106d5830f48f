#include "platform/linux/base/Worker.h"

#include <utility>

namespace platform_linux {

void Worker::post(std::function<void()> job) {
  const std::scoped_lock lock(mutex_);
  if (isStopped_) return;
  jobs_.push_back(std::move(job));
  if (!thread_.joinable()) thread_ = std::thread([this] { run(); });
  changed_.notify_one();
}

void Worker::stop() {
  std::deque<std::function<void()>> dropped;
  {
    const std::scoped_lock lock(mutex_);
    isStopped_ = true;
    dropped.swap(jobs_);
    changed_.notify_one();
  }
  if (thread_.joinable()) thread_.join();
}

void Worker::run() {
  std::unique_lock lock(mutex_);
  while (true) {
    changed_.wait(lock, [this] { return isStopped_ || !jobs_.empty(); });
    if (isStopped_) return;
    auto job = std::move(jobs_.front());
    jobs_.pop_front();
    lock.unlock();
    ++startedJobs_;
    job();
    job = nullptr;  // with all that it holds, before the lock is taken
    lock.lock();
  }
}

}  // namespace platform_linux
