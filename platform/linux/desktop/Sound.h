#pragma once

#include <string>
#include <utility>

#include "platform/AppKit/NSSound.h"
#include "platform/linux/desktop/EventSound.h"

namespace platform_linux {

/// An event of the user's sound theme, such as "camera-shutter".
class Sound : public platform::NSSound {
 public:
  explicit Sound(std::string eventId) : eventId_(std::move(eventId)) {}

  void play() override { playEventSound({eventId_}); }

 private:
  const std::string eventId_;
};

}  // namespace platform_linux
