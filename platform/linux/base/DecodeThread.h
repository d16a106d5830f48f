#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

namespace platform_linux {

/// The one thread that decodes what views show. Thread-safe. Jobs run one after another; those that have not
/// begun when this object goes are dropped, and the one under way is waited for (a frame: some 20 ms at
/// most).
class DecodeThread {
 public:
  DecodeThread() = default;
  DecodeThread(const DecodeThread&) = delete;
  DecodeThread& operator=(const DecodeThread&) = delete;
  ~DecodeThread();

  void post(std::function<void()> job);

  /// How many jobs have begun.
  std::uint64_t startedJobs() const { return startedJobs_; }

 private:
  void run();

  std::mutex mutex_;
  std::condition_variable changed_;
  std::deque<std::function<void()>> jobs_;
  bool ending_ = false;
  std::atomic<std::uint64_t> startedJobs_{0};
  std::thread thread_;  ///< started by the first job
};

}  // namespace platform_linux
