#include "platform/linux/camera/DeliveryWorker.h"

#include <utility>

namespace platform_linux {

void DeliveryWorker::deliver(std::function<void()> call) {
  const std::scoped_lock lock(mutex_);
  if (isStopped_) return;
  calls_.push_back(std::move(call));
  if (!thread_.joinable()) thread_ = std::thread([this] { run(); });
  changed_.notify_one();
}

void DeliveryWorker::stop() {
  std::deque<std::function<void()>> dropped;
  {
    const std::scoped_lock lock(mutex_);
    isStopped_ = true;
    dropped.swap(calls_);
    changed_.notify_one();
  }
  // Nobody else touches the thread any more: it is only made while not stopped.
  if (thread_.joinable()) thread_.join();
}

void DeliveryWorker::run() {
  std::unique_lock lock(mutex_);
  while (true) {
    changed_.wait(lock, [this] { return isStopped_ || !calls_.empty(); });
    if (isStopped_) return;
    auto call = std::move(calls_.front());
    calls_.pop_front();
    lock.unlock();
    call();
    mainQueue_.async([letGo = std::move(call)] {});
    lock.lock();
  }
}

}  // namespace platform_linux
