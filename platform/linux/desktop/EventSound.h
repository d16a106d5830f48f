#pragma once

#include <string>
#include <vector>

namespace platform_linux {

/// Plays the first of these events that the user's sound theme has, on a thread of its own, and returns at
/// once. Silence where there is no library, theme or sound server for them. Thread-safe; the end of the
/// process ends the sound and waits for nothing.
void playEventSound(std::vector<std::string> eventIds);

}  // namespace platform_linux
