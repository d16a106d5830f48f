#include <algorithm>
#include <future>
#include <sys/resource.h>

#include <gtest/gtest.h>

#include "platform/linux/camera/DeliveryWorker.h"
#include "tests/fakes/FakeFoundation.h"

namespace camera_test {
namespace {

using platform_linux::DeliveryWorker;

int nicenessOfACall(DeliveryWorker& worker, bool givesWay) {
  std::promise<int> niceness;
  worker.deliver([&] { niceness.set_value(::getpriority(PRIO_PROCESS, 0)); }, givesWay);
  return niceness.get_future().get();
}

TEST(DeliveryWorker, GivesWayFromTheFirstCallOnWhileSomebodyWatches) {
  fakes::FakeMainLoop loop;
  DeliveryWorker worker(loop);
  const int own = ::getpriority(PRIO_PROCESS, 0);
  EXPECT_EQ(nicenessOfACall(worker, false), own);
  EXPECT_EQ(nicenessOfACall(worker, true), std::max(own, 5));
  EXPECT_EQ(::getpriority(PRIO_PROCESS, 0), own) << "of the worker alone";
}

}  // namespace
}  // namespace camera_test
