#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

namespace platform_linux {

/// One thread that does one job after another. It exists from the first job on. Thread-safe, but for `stop`.
class Worker {
 public:
  Worker() = default;
  Worker(const Worker&) = delete;
  Worker& operator=(const Worker&) = delete;
  ~Worker() { stop(); }

  /// Runs `job` after those posted before it; never waits. Dropped once the worker was stopped.
  void post(std::function<void()> job);

  /// Waits for the job under way and drops the others. By the owner only.
  void stop();

  /// How many jobs have begun.
  [[nodiscard]] std::uint64_t startedJobs() const { return startedJobs_; }

 private:
  void run();

  std::mutex mutex_;  // guards what follows, but for the thread, which is only made while not stopped
  std::condition_variable changed_;
  std::deque<std::function<void()>> jobs_;
  bool isStopped_ = false;
  std::atomic<std::uint64_t> startedJobs_{0};
  std::thread thread_;
};

}  // namespace platform_linux
