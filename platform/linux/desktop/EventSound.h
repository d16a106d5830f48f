#pragma once

#include <string>
#include <vector>

namespace platform_linux {

/// A sound of the user's sound theme, and whether the user wants to hear it now.
struct EventSound {
  /// Names of the theme's events: the first that the theme has is played.
  std::vector<std::string> events;
  /// The application whose notification it belongs to: silent while the desktop shows no banners, or none of
  /// this application. Empty for a sound of another kind.
  std::string notificationOf = {};

  /// As words of a command line, and back.
  [[nodiscard]] std::vector<std::string> words() const;
  [[nodiscard]] static EventSound fromWords(const std::vector<std::string>& words);
};

/// That of an application's notification: the theme's event for a message that arrives, or the next best.
[[nodiscard]] EventSound notificationSound(const std::string& applicationId);

/// No event sound is that long: whatever has not come to its end by then hangs.
inline constexpr unsigned kLongestSoundSeconds = 10;

/// Plays the sound and ends the process, within kLongestSoundSeconds whatever the sound library does. Silence
/// where the user wants no such sound, and where there is no library, theme or sound server for it.
[[noreturn]] void playEventSoundAndExit(const EventSound& sound) noexcept;

}  // namespace platform_linux
