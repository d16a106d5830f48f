#pragma once

#include <string>
#include <vector>

namespace platform_linux {

/// Plays the first of these events that the user's sound theme has, on a thread of its own, and returns at
/// once. Silence where the user wants no event sounds, and where there is no library, theme or sound server
/// for them. Thread-safe; the end of the process ends the sound and waits for nothing.
void playEventSound(std::vector<std::string> eventIds);

/// The same on the calling thread: returns when the sound has come to its end, after half a minute an event
/// at most.
void playEventSoundToItsEnd(const std::vector<std::string>& eventIds) noexcept;

}  // namespace platform_linux
