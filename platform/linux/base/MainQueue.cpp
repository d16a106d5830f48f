#include "platform/linux/base/MainQueue.h"

#include <future>
#include <utility>

namespace platform_linux {

namespace {

/// A source that falls due at its ready time and does nothing but call back.
GSource* makeSource() {
  static GSourceFuncs functions{
      nullptr,
      nullptr,
      [](GSource*, GSourceFunc callback, gpointer data) noexcept -> gboolean { return callback(data); },
      nullptr,
      nullptr,
      nullptr};
  return g_source_new(&functions, sizeof(GSource));
}

}  // namespace

MainQueue::MainQueue() : mainThread_(std::this_thread::get_id()), source_(makeSource()) {
  g_source_set_priority(source_.get(), G_PRIORITY_DEFAULT);
  g_source_set_callback(source_.get(), &MainQueue::dispatch, this, nullptr);
  g_source_attach(source_.get(), nullptr);
}

MainQueue::~MainQueue() {
  end();
}

gboolean MainQueue::dispatch(gpointer data) noexcept {
  // One piece a turn, so that other events have theirs.
  if (const auto work = static_cast<MainQueue*>(data)->takeDue()) work();
  return G_SOURCE_CONTINUE;
}

std::function<void()> MainQueue::takeDue() {
  const std::scoped_lock lock(mutex_);
  const auto first = work_.begin();
  const bool due = first != work_.end() && first->first <= g_get_monotonic_time();
  auto work = due ? std::move(first->second) : nullptr;
  if (due) work_.erase(first);
  // Below zero: until there is work again.
  g_source_set_ready_time(source_.get(), work_.empty() ? -1 : work_.begin()->first);
  return work;
}

void MainQueue::async(std::function<void()> work) {
  after(std::chrono::milliseconds(0), std::move(work));
}

void MainQueue::sync(std::function<void()> work) {
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

void MainQueue::after(std::chrono::milliseconds delay, std::function<void()> work) {
  const std::scoped_lock lock(mutex_);
  if (ended_) return;
  const std::int64_t due = g_get_monotonic_time() + std::chrono::microseconds(delay).count();
  work_.emplace(due, std::move(work));
  g_source_set_ready_time(source_.get(), work_.begin()->first);
}

void MainQueue::end() {
  g_source_destroy(source_.get());
  // Let go outside the lock: what the work holds may ask for more.
  std::multimap<std::int64_t, std::function<void()>> dropped;
  const std::scoped_lock lock(mutex_);
  ended_ = true;
  work_.swap(dropped);
}

}  // namespace platform_linux
