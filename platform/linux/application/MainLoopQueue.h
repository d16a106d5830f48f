#pragma once

#include <memory>
#include <thread>

#include "platform/Foundation/MainQueue.h"

namespace platform_linux {

/// The main queue on the GLib main loop of the thread that makes it. Thread-safe; must outlive the threads
/// that use it.
///
/// Work has the priority of events, so that redraws never starve it. While no loop runs yet, work waits for
/// it.
class MainLoopQueue : public platform::MainQueue {
 public:
  MainLoopQueue();
  /// Ends the queue.
  ~MainLoopQueue() override;

  void async(std::function<void()> work) override;
  void sync(std::function<void()> work) override;
  void after(std::chrono::milliseconds delay, std::function<void()> work) override;

  /// The main loop has ended: drops what has not started, releases whoever waits for it, and takes nothing
  /// more (`sync` on the main thread still runs inline). Main thread only.
  void end();

 private:
  class Pending;

  const std::thread::id mainThread_;
  /// Shared with the event sources: those that fall due after the end find nothing to do.
  const std::shared_ptr<Pending> pending_;
};

}  // namespace platform_linux
