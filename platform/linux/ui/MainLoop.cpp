#include "platform/linux/ui/MainLoop.h"

#include <atomic>
#include <memory>
#include <utility>

namespace platform_linux {
namespace {

/// Work on its way to the main thread. GLib's queue orders the two threads already, by means that the thread
/// sanitizer cannot see in a library that it did not compile; the flag says it once more.
struct PostedWork {
  explicit PostedWork(std::function<void()> posted) : work(std::move(posted)) {}

  const std::function<void()> work;
  std::atomic<bool> isWritten{false};
};

}  // namespace

void postToMainLoop(std::function<void()> work) {
  auto owned = std::make_unique<PostedWork>(std::move(work));
  owned->isWritten.store(true, std::memory_order_release);
  g_idle_add_full(
      G_PRIORITY_DEFAULT,
      [](gpointer data) noexcept -> gboolean {
        const auto& posted = *static_cast<PostedWork*>(data);
        if (posted.isWritten.load(std::memory_order_acquire)) posted.work();
        return G_SOURCE_REMOVE;
      },
      owned.release(), [](gpointer data) noexcept { delete static_cast<PostedWork*>(data); });
}

DeferredCall::DeferredCall(int priority, std::function<void()> call)
    : priority_(priority), call_(std::move(call)) {}

DeferredCall::~DeferredCall() {
  if (source_) g_source_remove(source_);
}

void DeferredCall::schedule() {
  if (source_) return;
  source_ = g_idle_add_full(
      priority_,
      [](gpointer data) noexcept -> gboolean {
        auto* const self = static_cast<DeferredCall*>(data);
        self->source_ = 0;
        // A copy: the call may end this object.
        const auto call = self->call_;
        call();
        return G_SOURCE_REMOVE;
      },
      this, nullptr);
}

}  // namespace platform_linux
