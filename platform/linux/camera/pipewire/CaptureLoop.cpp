#include "platform/linux/camera/pipewire/CaptureLoop.h"

#include <algorithm>
#include <ctime>
#include <stdexcept>
#include <utility>

#include "platform/linux/camera/pipewire/PipeWireCalls.h"

namespace platform_linux {
namespace {

constexpr const char* kThreadName = "camera";

}  // namespace

CaptureLoop::CaptureLoop() {
  pw_init(nullptr, nullptr);
  loop_ = pw_thread_loop_new(kThreadName, nullptr);
  if (!loop_) throw std::runtime_error("no loop for the camera thread");
  wakeUp_ = addEvent(
      raw(), [](void* self, std::uint64_t) noexcept { static_cast<CaptureLoop*>(self)->runTasks(); }, this);
  if (!wakeUp_ || pw_thread_loop_start(loop_) < 0) {
    pw_thread_loop_destroy(loop_);
    throw std::runtime_error("the camera thread does not start");
  }
}

CaptureLoop::~CaptureLoop() {
  stop();
  destroySource(raw(), wakeUp_);
  pw_thread_loop_destroy(loop_);
  pw_deinit();
}

void CaptureLoop::post(std::function<void()> task) {
  const std::scoped_lock lock(mutex_);
  if (stopped_) return;
  tasks_.push_back(std::move(task));
  if (tasks_.size() == 1) signalEvent(raw(), wakeUp_);
}

void CaptureLoop::stop() noexcept {
  std::vector<std::function<void()>> dropped;
  {
    const std::scoped_lock lock(mutex_);
    stopped_ = true;
    dropped.swap(tasks_);
  }
  pw_thread_loop_stop(loop_);
}

void CaptureLoop::runTasks() noexcept {
  std::vector<std::function<void()>> tasks;
  {
    const std::scoped_lock lock(mutex_);
    tasks.swap(tasks_);
  }
  for (auto& task : tasks)
    task();
}

LoopTimer::LoopTimer(CaptureLoop& loop, std::function<void()> action)
    : loop_(loop), action_(std::move(action)) {
  source_ = addTimer(
      loop_.raw(), [](void* self, std::uint64_t) noexcept { static_cast<LoopTimer*>(self)->action_(); },
      this);
}

LoopTimer::~LoopTimer() {
  if (source_) destroySource(loop_.raw(), source_);
}

void LoopTimer::startOnce(std::chrono::nanoseconds delay) noexcept {
  if (!source_) return;
  // A time of zero would disarm the timer.
  const auto time = std::max(delay, std::chrono::nanoseconds{1});
  const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(time);
  timespec value{};
  value.tv_sec = static_cast<std::time_t>(seconds.count());
  value.tv_nsec = static_cast<long>((time - seconds).count());
  updateTimer(loop_.raw(), source_, &value);
}

void LoopTimer::stop() noexcept {
  if (source_) updateTimer(loop_.raw(), source_, nullptr);
}

}  // namespace platform_linux
