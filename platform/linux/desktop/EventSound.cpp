#include "platform/linux/desktop/EventSound.h"

#include <chrono>
#include <cstdint>
#include <future>
#include <system_error>
#include <thread>
#include <utility>

#include "platform/linux/desktop/CanberraLibrary.h"
#include "platform/linux/desktop/EventSoundSetting.h"

namespace platform_linux {
namespace {

/// No event sound is that long: whatever has not come to its end by then hangs.
constexpr std::chrono::seconds kLongestSound{30};
/// Tells this playback from others of the same context, of which there are none.
constexpr std::uint32_t kPlayback = 1;

void onFinished(ca_context*, std::uint32_t, int, void* data) noexcept {
  static_cast<std::promise<void>*>(data)->set_value();
}

/// Plays one event to its end; whether the theme had it.
bool playToItsEnd(const CanberraLibrary& library, const std::string& eventId) {
  ca_context* context = nullptr;
  ca_proplist* properties = nullptr;
  if (library.contextCreate(&context) != CA_SUCCESS) return false;
  library.proplistCreate(&properties);
  library.proplistSets(properties, CA_PROP_EVENT_ID, eventId.c_str());
  std::promise<void> finished;
  const bool playing =
      library.contextPlayFull(context, kPlayback, properties, onFinished, &finished) == CA_SUCCESS;
  if (playing) finished.get_future().wait_for(kLongestSound);
  library.proplistDestroy(properties);
  // Calls back for what is still playing, so `finished` has to be there still.
  library.contextDestroy(context);
  return playing;
}

}  // namespace

void playEventSoundToItsEnd(const std::vector<std::string>& eventIds) noexcept {
  if (!eventSoundsWanted()) return;
  const CanberraLibrary* const library = CanberraLibrary::load();
  if (!library) return;
  for (const std::string& eventId : eventIds)
    if (playToItsEnd(*library, eventId)) return;
}

void playEventSound(std::vector<std::string> eventIds) {
  try {
    // Detached: a sound server that never answers must not keep the process.
    std::thread([events = std::move(eventIds)] { playEventSoundToItsEnd(events); }).detach();
  } catch (const std::system_error&) {
    // No thread to be had: silence.
  }
}

}  // namespace platform_linux
