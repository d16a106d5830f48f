#include "platform/linux/camera/CameraThread.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <ctime>
#include <pthread.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/timerfd.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace platform_linux {
namespace {

constexpr const char* kThreadName = "camera";
constexpr std::size_t kEventsATurn = 16;
/// What stands for the loop's own wake-up among the numbers of watches.
constexpr std::uint64_t kWakeUp = 0;

FileDescriptor checked(int descriptor) {
  if (descriptor < 0) throw std::system_error(errno, std::generic_category(), "the camera thread");
  return FileDescriptor(descriptor);
}

bool add(int poll, int descriptor, std::uint32_t events, std::uint64_t number) {
  epoll_event event{};
  event.events = events;
  event.data.u64 = number;
  return ::epoll_ctl(poll, EPOLL_CTL_ADD, descriptor, &event) == 0;
}

itimerspec timerValue(std::chrono::nanoseconds delay) {
  const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(delay);
  itimerspec value{};
  value.it_value.tv_sec = static_cast<std::time_t>(seconds.count());
  value.it_value.tv_nsec = static_cast<long>((delay - seconds).count());
  return value;
}

}  // namespace

class CameraThread::WatchEntry final : public CameraLoop::Watch {
 public:
  WatchEntry(CameraThread& loop, int descriptor, std::function<void()> ready)
      : loop_(loop), number_(loop.nextWatch_++), descriptor_(descriptor) {
    loop_.watches_.emplace(number_, std::make_shared<std::function<void()>>(std::move(ready)));
    add(loop_.poll_.get(), descriptor_, EPOLLIN | EPOLLPRI, number_);
  }
  WatchEntry(const WatchEntry&) = delete;
  WatchEntry& operator=(const WatchEntry&) = delete;
  ~WatchEntry() override {
    ::epoll_ctl(loop_.poll_.get(), EPOLL_CTL_DEL, descriptor_, nullptr);
    loop_.watches_.erase(number_);
  }

 private:
  CameraThread& loop_;
  const std::uint64_t number_;
  const int descriptor_;
};

class CameraThread::TimerFile final : public CameraLoop::Timer {
 public:
  TimerFile(CameraThread& loop, std::function<void()> action)
      : descriptor_(::timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK)) {
    if (!descriptor_) return;
    watch_ = loop.watch(descriptor_.get(), [this, action = std::move(action)] {
      std::uint64_t expirations = 0;
      if (::read(descriptor_.get(), &expirations, sizeof expirations) > 0) action();
    });
  }

  void startOnce(std::chrono::nanoseconds delay) override {
    // A time of zero would disarm the timer.
    set(std::max(delay, std::chrono::nanoseconds{1}));
  }
  void stop() override { set(std::chrono::nanoseconds{0}); }

 private:
  void set(std::chrono::nanoseconds delay) const {
    const itimerspec value = timerValue(delay);
    ::timerfd_settime(descriptor_.get(), 0, &value, nullptr);
  }

  const FileDescriptor descriptor_;
  std::unique_ptr<Watch> watch_;
};

CameraThread::CameraThread()
    : poll_(checked(::epoll_create1(EPOLL_CLOEXEC))),
      wake_(checked(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))) {
  if (!add(poll_.get(), wake_.get(), EPOLLIN, kWakeUp))
    throw std::system_error(errno, std::generic_category(), "the camera thread");
  thread_ = std::thread([this] { run(); });
}

CameraThread::~CameraThread() {
  end([] {});
}

void CameraThread::wakeUp() const {
  const std::uint64_t one = 1;
  // It fails only when the counter is full, and then the thread wakes up anyway.
  [[maybe_unused]] const auto written = ::write(wake_.get(), &one, sizeof one);
}

void CameraThread::post(std::function<void()> task) {
  const std::scoped_lock lock(mutex_);
  if (hasEnded_) return;
  tasks_.push_back(std::move(task));
  if (tasks_.size() == 1) wakeUp();
}

void CameraThread::end(std::function<void()> last) {
  std::vector<std::function<void()>> dropped;
  {
    const std::scoped_lock lock(mutex_);
    if (std::exchange(hasEnded_, true)) return;
    dropped.swap(tasks_);
    tasks_.push_back([this, last = std::move(last)] {
      last();
      isRunning_ = false;
    });
    wakeUp();
  }
  thread_.join();
}

std::unique_ptr<CameraLoop::Timer> CameraThread::timer(std::function<void()> action) {
  return std::make_unique<TimerFile>(*this, std::move(action));
}

std::unique_ptr<CameraLoop::Watch> CameraThread::watch(int descriptor, std::function<void()> ready) {
  return std::make_unique<WatchEntry>(*this, descriptor, std::move(ready));
}

void CameraThread::run() {
  ::pthread_setname_np(::pthread_self(), kThreadName);
  std::array<epoll_event, kEventsATurn> events{};
  while (isRunning_) {
    const int count =
        ::epoll_wait(poll_.get(), events.data(), static_cast<int>(events.size()), /*no limit*/ -1);
    for (int i = 0; i < count && isRunning_; ++i)
      dispatch(events[static_cast<std::size_t>(i)].data.u64);
  }
}

void CameraThread::dispatch(std::uint64_t number) {
  if (number == kWakeUp) return runTasks();
  const auto entry = watches_.find(number);
  if (entry == watches_.end()) return;
  // Held, as the call may destroy its own watch.
  const auto ready = entry->second;
  (*ready)();
}

void CameraThread::runTasks() {
  std::uint64_t count = 0;
  [[maybe_unused]] const auto size = ::read(wake_.get(), &count, sizeof count);
  std::vector<std::function<void()>> tasks;
  {
    const std::scoped_lock lock(mutex_);
    tasks.swap(tasks_);
  }
  for (auto& task : tasks)
    task();
}

}  // namespace platform_linux
