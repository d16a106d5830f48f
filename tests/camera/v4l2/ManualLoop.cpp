#include "tests/camera/v4l2/ManualLoop.h"

#include <optional>
#include <poll.h>
#include <stdexcept>
#include <utility>

namespace camera_test {
namespace {

bool isReady(int descriptor) {
  pollfd poll{descriptor, POLLIN | POLLPRI, 0};
  return ::poll(&poll, 1, 0) > 0;
}

}  // namespace

class ManualLoop::Entry final : public platform_linux::CameraLoop::Watch {
 public:
  Entry(ManualLoop& loop, int watched) : loop_(loop), descriptor(watched) {}
  Entry(const Entry&) = delete;
  Entry& operator=(const Entry&) = delete;
  ~Entry() override { loop_.watches_.erase(this); }

 private:
  ManualLoop& loop_;

 public:
  const int descriptor;
  std::optional<int> callsLeft;  // none: no end
};

std::unique_ptr<platform_linux::CameraLoop::Timer> ManualLoop::timer(std::function<void()>) {
  throw std::logic_error("the clock stands");
}

std::unique_ptr<platform_linux::CameraLoop::Watch> ManualLoop::watch(int descriptor,
                                                                     std::function<void()> ready) {
  auto entry = std::make_unique<Entry>(*this, descriptor);
  if (forgetsEarlyWatches_ && isReady(descriptor)) entry->callsLeft = 1;
  watches_[entry.get()] = std::make_shared<std::function<void()>>(std::move(ready));
  return entry;
}

void ManualLoop::run() {
  // Nothing that a test does takes more turns; a device that is ready for ever would.
  constexpr int kMostTurns = 10000;
  for (int turn = 0; runTasks() || tellWatches(); ++turn)
    if (turn == kMostTurns) throw std::logic_error("the loop finds no end");
}

bool ManualLoop::runTasks() {
  const auto tasks = std::exchange(tasks_, {});
  for (const auto& task : tasks)
    task();
  return !tasks.empty();
}

bool ManualLoop::tellWatches() {
  for (const auto& [entry, ready] : watches_) {
    if (entry->callsLeft == 0 || !isReady(entry->descriptor)) continue;
    if (entry->callsLeft) --*entry->callsLeft;
    const auto call = ready;  // the watch may end inside its own call
    (*call)();
    return true;
  }
  return false;
}

}  // namespace camera_test
