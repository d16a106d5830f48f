#include "platform/linux/application/RunLoop.h"

#include <utility>

#include <glib.h>

namespace platform_linux {

class RunLoop::Timer final : public platform::NSTimer {
 public:
  Timer(std::chrono::milliseconds interval, std::function<void()> action)
      : action_(std::make_shared<std::function<void()>>(std::move(action))),
        source_(g_timeout_add_full(G_PRIORITY_DEFAULT, static_cast<guint>(interval.count()), &Timer::fire,
                                   this, nullptr)) {}
  Timer(const Timer&) = delete;
  Timer& operator=(const Timer&) = delete;
  ~Timer() override { invalidate(); }

  void invalidate() override {
    if (const guint source = std::exchange(source_, 0)) g_source_remove(source);
    action_.reset();
  }

 private:
  static gboolean fire(gpointer data) noexcept {
    // Its own: the action may invalidate or release the timer, and must not vanish while it runs.
    const auto action = static_cast<Timer*>(data)->action_;
    (*action)();
    return G_SOURCE_CONTINUE;
  }

  std::shared_ptr<std::function<void()>> action_;
  guint source_;
};

RunLoop::RunLoop() = default;

RunLoop::~RunLoop() {
  end();
}

std::shared_ptr<platform::NSTimer> RunLoop::addRepeatingTimer(std::chrono::milliseconds interval,
                                                              std::function<void()> action) {
  auto timer = std::make_shared<Timer>(interval, std::move(action));
  if (ended_) timer->invalidate();
  std::erase_if(timers_, [](const auto& weak) { return weak.expired(); });
  timers_.push_back(timer);
  return timer;
}

void RunLoop::end() {
  ended_ = true;
  for (const auto& weak : std::exchange(timers_, {}))
    if (const auto timer = weak.lock()) timer->invalidate();
}

}  // namespace platform_linux
