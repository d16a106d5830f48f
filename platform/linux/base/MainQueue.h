#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <thread>

#include "platform/Foundation/MainQueue.h"
#include "platform/linux/base/Handles.h"

namespace platform_linux {

/// The main queue on the GLib main loop of the thread that makes it. Thread-safe; must outlive the threads
/// that use it.
///
/// Work has the priority of events, so that redraws never starve it. While no loop runs yet, work waits for
/// it.
class MainQueue : public platform::MainQueue {
 public:
  MainQueue();
  /// Ends the queue.
  ~MainQueue() override;

  void async(std::function<void()> work) override;
  void sync(std::function<void()> work) override;
  void after(std::chrono::milliseconds delay, std::function<void()> work) override;

  /// The main loop has ended: drops what has not started, releases whoever waits for it, and takes nothing
  /// more (`sync` on the main thread still runs inline). Main thread only.
  void end();

 private:
  static gboolean dispatch(gpointer data) noexcept;
  /// The next work that is due, taken out; the source is set for the one after it.
  std::function<void()> takeDue();

  const std::thread::id mainThread_;
  const std::unique_ptr<GSource, ReleaseWith<g_source_unref>> source_;

  std::mutex mutex_;
  /// By the moment it falls due, on GLib's monotonic clock in microseconds; first in, first out at the same
  /// moment.
  std::multimap<std::int64_t, std::function<void()>> work_;
  bool ended_ = false;
};

}  // namespace platform_linux
