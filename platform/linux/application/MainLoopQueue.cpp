#include "platform/linux/application/MainLoopQueue.h"

#include <cstdint>
#include <future>
#include <map>
#include <mutex>
#include <optional>
#include <utility>

#include <glib.h>

namespace platform_linux {

/// The work that has not started, by number.
class MainLoopQueue::Pending {
 public:
  /// Keeps `work` and answers its number; nothing after the end.
  std::optional<std::uint64_t> add(std::function<void()> work) {
    const std::scoped_lock lock(mutex_);
    if (ended_) return std::nullopt;
    work_.emplace(++last_, std::move(work));
    return last_;
  }

  void run(std::uint64_t number) {
    std::function<void()> work;
    {
      const std::scoped_lock lock(mutex_);
      const auto found = work_.find(number);
      if (found == work_.end()) return;
      work = std::move(found->second);
      work_.erase(found);
    }
    work();
  }

  void end() {
    std::map<std::uint64_t, std::function<void()>> dropped;
    const std::scoped_lock lock(mutex_);
    ended_ = true;
    work_.swap(dropped);
  }

 private:
  std::mutex mutex_;
  std::map<std::uint64_t, std::function<void()>> work_;
  std::uint64_t last_ = 0;
  bool ended_ = false;
};

namespace {

/// Has `pending` run its work `number` from the main loop once `delay` has passed.
template <typename Pending>
void schedule(const std::shared_ptr<Pending>& pending, std::uint64_t number,
              std::chrono::milliseconds delay) {
  struct Due {
    std::shared_ptr<Pending> pending;
    std::uint64_t number;
  };
  const GSourceFunc run = [](gpointer data) noexcept -> gboolean {
    const auto* const due = static_cast<Due*>(data);
    due->pending->run(due->number);
    return G_SOURCE_REMOVE;
  };
  const GDestroyNotify release = [](gpointer data) noexcept { delete static_cast<Due*>(data); };
  auto due = std::make_unique<Due>(Due{pending, number});
  if (delay.count() > 0)
    g_timeout_add_full(G_PRIORITY_DEFAULT, static_cast<guint>(delay.count()), run, due.release(), release);
  else
    g_idle_add_full(G_PRIORITY_DEFAULT, run, due.release(), release);
}

}  // namespace

MainLoopQueue::MainLoopQueue()
    : mainThread_(std::this_thread::get_id()), pending_(std::make_shared<Pending>()) {}

MainLoopQueue::~MainLoopQueue() {
  end();
}

void MainLoopQueue::async(std::function<void()> work) {
  after(std::chrono::milliseconds(0), std::move(work));
}

void MainLoopQueue::sync(std::function<void()> work) {
  if (std::this_thread::get_id() == mainThread_) {
    work();
    return;
  }
  // The promise goes with the work: kept after it ran, broken when it is dropped. Either way the wait is
  // over.
  auto ran = std::make_shared<std::promise<void>>();
  const std::future<void> over = ran->get_future();
  async([&work, ran = std::move(ran)] {
    work();
    ran->set_value();
  });
  over.wait();
}

void MainLoopQueue::after(std::chrono::milliseconds delay, std::function<void()> work) {
  if (const auto number = pending_->add(std::move(work))) schedule(pending_, *number, delay);
}

void MainLoopQueue::end() {
  pending_->end();
}

}  // namespace platform_linux
