#include "platform/linux/ui/MainLoop.h"

#include <memory>
#include <utility>

namespace platform_linux {

void postToMainLoop(std::function<void()> work) {
  auto owned = std::make_unique<std::function<void()>>(std::move(work));
  g_idle_add_full(
      G_PRIORITY_DEFAULT,
      [](gpointer data) noexcept -> gboolean {
        (*static_cast<std::function<void()>*>(data))();
        return G_SOURCE_REMOVE;
      },
      owned.release(), [](gpointer data) noexcept { delete static_cast<std::function<void()>*>(data); });
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
