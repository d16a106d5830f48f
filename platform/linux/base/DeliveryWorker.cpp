#include "platform/linux/base/DeliveryWorker.h"

#include <sys/resource.h>
#include <utility>

namespace platform_linux {
namespace {

/// A third of the processor's time where another thread wants all of it, too.
constexpr int kGivingWay = 5;

}  // namespace

void DeliveryWorker::deliver(std::function<void()> call, bool givesWay) {
  const std::scoped_lock lock(mutex_);
  if (isStopped_) return;
  calls_.push_back({std::move(call), givesWay});
  if (!thread_.joinable()) thread_ = std::thread([this] { run(); });
  changed_.notify_one();
}

void DeliveryWorker::stop() {
  std::deque<Call> dropped;
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
    if (call.givesWay && ::getpriority(PRIO_PROCESS, 0) < kGivingWay)
      ::setpriority(PRIO_PROCESS, 0, kGivingWay);  // of this thread, on Linux
    call.work();
    mainQueue_.async([letGo = std::move(call.work)] {});
    lock.lock();
  }
}

}  // namespace platform_linux
