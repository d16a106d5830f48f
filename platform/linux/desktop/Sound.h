#pragma once

#include <utility>

#include "platform/AppKit/NSSound.h"
#include "platform/linux/desktop/SoundProcess.h"

namespace platform_linux {

/// A sound of the user's theme, such as the event "camera-shutter".
class Sound : public platform::NSSound {
 public:
  /// `player` outlives this.
  Sound(SoundProcess& player, EventSound sound) : player_(player), sound_(std::move(sound)) {}

  void play() override { player_.play(sound_); }

 private:
  SoundProcess& player_;
  const EventSound sound_;
};

}  // namespace platform_linux
