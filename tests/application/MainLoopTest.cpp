// The main queue under other threads, and what the end of the loop does to it and to timers.
#include <algorithm>
#include <atomic>
#include <future>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "platform/linux/application/RunLoop.h"
#include "platform/linux/base/MainQueue.h"
#include "tests/application/GLibLoop.h"

namespace application_tests {

namespace {

using platform_linux::MainQueue;
using platform_linux::RunLoop;

TEST(MainQueue, SyncFromAnotherThreadRunsOnTheMainThreadAndReturnsAfterwards) {
  MainQueue queue;
  std::thread::id ranOn;
  bool ranBeforeTheReturn = false;
  auto other = std::async(std::launch::async, [&] {
    bool ran = false;
    queue.sync([&] {
      ranOn = std::this_thread::get_id();
      ran = true;
    });
    ranBeforeTheReturn = ran;
    queue.async([] {});  // Wakes the loop.
  });
  turnUntil([&] { return other.wait_for(std::chrono::seconds(0)) == std::future_status::ready; });
  other.get();
  EXPECT_EQ(ranOn, std::this_thread::get_id());
  EXPECT_TRUE(ranBeforeTheReturn);
}

TEST(MainQueue, WorkOfOneThreadKeepsItsOrder) {
  MainQueue queue;
  constexpr int kThreads = 4;
  constexpr int kPieces = 500;
  std::vector<std::vector<int>> ran(kThreads);
  std::vector<std::thread> threads;
  threads.reserve(kThreads);
  for (int thread = 0; thread < kThreads; ++thread)
    threads.emplace_back([&queue, &ran, thread] {
      for (int piece = 0; piece < kPieces; ++piece)
        queue.async([&ran, thread, piece] { ran[static_cast<std::size_t>(thread)].push_back(piece); });
    });
  for (std::thread& thread : threads)
    thread.join();
  bool last = false;
  queue.async([&] { last = true; });
  turnUntil([&] { return last; });
  for (const auto& pieces : ran) {
    EXPECT_EQ(pieces.size(), std::size_t{kPieces});
    EXPECT_TRUE(std::is_sorted(pieces.begin(), pieces.end()));
  }
}

TEST(MainQueue, TheEndReleasesWhoeverWaits) {
  MainQueue queue;
  constexpr int kThreads = 8;
  std::atomic<int> ran = 0;
  std::vector<std::future<void>> waiting;
  waiting.reserve(kThreads);
  for (int thread = 0; thread < kThreads; ++thread)
    waiting.push_back(std::async(std::launch::async, [&] { queue.sync([&ran] { ++ran; }); }));
  queue.end();
  for (auto& each : waiting)
    EXPECT_EQ(each.wait_for(std::chrono::seconds(10)), std::future_status::ready);
  EXPECT_EQ(ran, 0);
}

TEST(MainQueue, TheEndReleasesWhatDroppedWorkHolds) {
  MainQueue queue;
  const auto held = std::make_shared<int>(1);
  queue.async([held] {});
  queue.after(std::chrono::hours(1), [held] {});
  queue.end();
  EXPECT_EQ(held.use_count(), 1);
}

TEST(RunLoop, TheEndSilencesAllTimersAlsoLaterOnes) {
  RunLoop runLoop;
  int fired = 0;
  const auto before = runLoop.addRepeatingTimer(std::chrono::milliseconds(1), [&] { ++fired; });
  runLoop.end();
  const auto after = runLoop.addRepeatingTimer(std::chrono::milliseconds(1), [&] { ++fired; });
  const Alarm alarm{std::chrono::milliseconds(20)};
  turnUntil([&] { return alarm.rung(); });
  EXPECT_EQ(fired, 0);
}

TEST(RunLoop, AnInvalidatedTimerReleasesWhatItsActionHolds) {
  RunLoop runLoop;
  const auto held = std::make_shared<int>(1);
  const auto timer = runLoop.addRepeatingTimer(std::chrono::hours(1), [held] {});
  timer->invalidate();
  EXPECT_EQ(held.use_count(), 1);
}

}  // namespace

}  // namespace application_tests
