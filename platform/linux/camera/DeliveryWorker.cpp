#include "platform/linux/camera/DeliveryWorker.h"

#include <utility>

#include "platform/linux/base/ThreadPriority.h"

namespace platform_linux {

void DeliveryWorker::deliver(std::function<void()> call, bool lowersPriority) {
  worker_.post([this, call = std::move(call), lowersPriority]() mutable {
    if (lowersPriority) lowerThreadPriority();
    call();
    mainQueue_.async([letGo = std::move(call)] {});
  });
}

}  // namespace platform_linux
