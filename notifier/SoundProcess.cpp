#include "notifier/SoundProcess.h"

#include <array>

#include "platform/linux/base/GLibHandles.h"
#include "platform/linux/desktop/EventSound.h"

namespace notifier {

SoundProcess::~SoundProcess() {
  if (watch_) g_source_remove(watch_);
}

void SoundProcess::play() {
  if (watch_) return;
  // The first is the program, the others what it is told.
  std::array<const char*, 4> words{"/proc/self/exe", "quillo-camera-shot-notifier", kArgument, nullptr};
  // Nothing is open that a child would inherit.
  constexpr auto kFlags = static_cast<GSpawnFlags>(G_SPAWN_FILE_AND_ARGV_ZERO | G_SPAWN_DO_NOT_REAP_CHILD |
                                                   G_SPAWN_LEAVE_DESCRIPTORS_OPEN);
  GPid child = 0;
  platform_linux::GErrorHandle error;
  if (!g_spawn_async(nullptr, const_cast<char**>(words.data()), nullptr, kFlags, nullptr, nullptr, &child,
                     error.out())) {
    g_message("No sound: %s", error.message().c_str());
    return;
  }
  watch_ = g_child_watch_add(
      child, [](GPid, gint, gpointer self) noexcept { static_cast<SoundProcess*>(self)->watch_ = 0; }, this);
}

void SoundProcess::run() {
  // The sound theme's word for a message that arrives, and the next best.
  platform_linux::playEventSoundToItsEnd({"message-new-instant", "dialog-information"});
}

}  // namespace notifier
