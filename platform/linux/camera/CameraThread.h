#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "platform/linux/base/FileDescriptor.h"
#include "platform/linux/camera/CameraLoop.h"

namespace platform_linux {

/// The cameras' loop as a thread of its own.
class CameraThread final : public CameraLoop {
 public:
  /// Starts the thread. Throws std::system_error when the system has no thread or descriptor left.
  CameraThread();
  CameraThread(const CameraThread&) = delete;
  CameraThread& operator=(const CameraThread&) = delete;
  ~CameraThread() override;

  void post(std::function<void()> task) override;
  void end(std::function<void()> last) override;
  [[nodiscard]] Time now() const override { return std::chrono::steady_clock::now(); }
  [[nodiscard]] std::unique_ptr<Timer> timer(std::function<void()> action) override;
  [[nodiscard]] std::unique_ptr<Watch> watch(int descriptor, std::function<void()> ready) override;

 private:
  class TimerFile;
  class WatchEntry;

  void run();
  void wakeUp() const;
  void runTasks();
  void dispatch(std::uint64_t number);

  const FileDescriptor poll_;
  const FileDescriptor wake_;
  // The loop's thread only: what runs for each watched descriptor. A number is never used twice, so an event
  // that was on its way to a watch that has gone reaches no other.
  std::map<std::uint64_t, std::shared_ptr<std::function<void()>>> watches_;
  std::uint64_t nextWatch_ = 1;
  bool isRunning_ = true;

  std::mutex mutex_;  // guards what follows
  std::vector<std::function<void()>> tasks_;
  bool hasEnded_ = false;

  std::thread thread_;
};

}  // namespace platform_linux
