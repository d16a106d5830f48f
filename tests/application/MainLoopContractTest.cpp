// The promises of the main loop's ports, kept by the real adapters and by the fakes alike.
#include "platform/linux/application/NotificationCenter.h"
#include "platform/linux/application/RunLoop.h"
#include "platform/linux/base/MainQueue.h"
#include "tests/application/GLibLoop.h"
#include "tests/contract/MainQueueContract.h"
#include "tests/contract/NSNotificationCenterContract.h"
#include "tests/contract/NSRunLoopContract.h"
#include "tests/fakes/FakeFoundation.h"

namespace contract {

namespace {

class RealMainQueue : public MainQueueFactory {
 public:
  platform::MainQueue& queue() override { return queue_; }
  void runUntil(const std::function<bool()>& done) override { application_tests::turnUntil(done); }
  void runFor(std::chrono::milliseconds time) override {
    const application_tests::Alarm alarm(time);
    application_tests::turnUntil([&] { return alarm.rung(); });
  }
  void end() override { queue_.end(); }

 private:
  platform_linux::MainQueue queue_;
};

class RealRunLoop : public NSRunLoopFactory {
 public:
  platform::NSRunLoop& runLoop() override { return runLoop_; }
  void runUntil(const std::function<bool()>& done) override { application_tests::turnUntil(done); }

 private:
  platform_linux::RunLoop runLoop_;
};

/// The fakes' clock is moved on in small steps.
void advanceUntil(fakes::FakeMainLoop& loop, const std::function<bool()>& done) {
  for (int step = 0; step < 10000 && !done(); ++step)
    loop.advance(std::chrono::milliseconds(1));
}

class FakeMainQueue : public MainQueueFactory {
 public:
  platform::MainQueue& queue() override { return loop_; }
  void runUntil(const std::function<bool()>& done) override { advanceUntil(loop_, done); }
  void runFor(std::chrono::milliseconds time) override { loop_.advance(time); }
  void end() override { loop_.end(); }

 private:
  fakes::FakeMainLoop loop_;
};

class FakeRunLoop : public NSRunLoopFactory {
 public:
  platform::NSRunLoop& runLoop() override { return loop_; }
  void runUntil(const std::function<bool()>& done) override { advanceUntil(loop_, done); }

 private:
  fakes::FakeMainLoop loop_;
};

template <typename Factory, typename Port>
std::unique_ptr<Port> make() {
  return std::make_unique<Factory>();
}

std::shared_ptr<platform::NSNotificationCenter> makeCenter() {
  return std::make_shared<platform_linux::NotificationCenter>();
}

std::shared_ptr<platform::NSNotificationCenter> makeFakeCenter() {
  struct Made {
    fakes::Journal journal;
    fakes::FakeNotificationCenter center{journal};
  };
  const auto made = std::make_shared<Made>();
  return {made, &made->center};
}

INSTANTIATE_TEST_SUITE_P(Linux, MainQueueContract, testing::Values(&make<RealMainQueue, MainQueueFactory>));
INSTANTIATE_TEST_SUITE_P(Fake, MainQueueContract, testing::Values(&make<FakeMainQueue, MainQueueFactory>));
INSTANTIATE_TEST_SUITE_P(Linux, NSRunLoopContract, testing::Values(&make<RealRunLoop, NSRunLoopFactory>));
INSTANTIATE_TEST_SUITE_P(Fake, NSRunLoopContract, testing::Values(&make<FakeRunLoop, NSRunLoopFactory>));
INSTANTIATE_TEST_SUITE_P(Linux, NSNotificationCenterContract, testing::Values(&makeCenter));
INSTANTIATE_TEST_SUITE_P(Fake, NSNotificationCenterContract, testing::Values(&makeFakeCenter));

}  // namespace

}  // namespace contract
