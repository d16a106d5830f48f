#include "platform/linux/camera/DeliveryWorker.h"

#include <sys/resource.h>
#include <utility>

namespace platform_linux {
namespace {

/// A third of the processor's time where another thread wants all of it, too.
constexpr int kLowPriority = 5;

}  // namespace

void DeliveryWorker::deliver(std::function<void()> call, bool lowersPriority) {
  worker_.post([this, call = std::move(call), lowersPriority]() mutable {
    if (lowersPriority && ::getpriority(PRIO_PROCESS, 0) < kLowPriority)
      ::setpriority(PRIO_PROCESS, 0, kLowPriority);  // of this thread, on Linux
    call();
    mainQueue_.async([letGo = std::move(call)] {});
  });
}

}  // namespace platform_linux
