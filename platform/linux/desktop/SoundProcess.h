#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <utility>

#include <glib.h>

#include "platform/linux/desktop/EventSound.h"

namespace platform_linux {

/// Plays event sounds, each in a short-lived process of its own: what sound drivers load, the threads and
/// memory that they leave behind, and the calls in which they hang, do not burden the program. Main thread
/// only.
class SoundProcess {
 public:
  /// The argument with which `program` plays the sound that the arguments behind it tell, and ends.
  static constexpr const char* kArgument = "--play-sound";

  /// `program`: its path. Of more sounds than `most` at a time the latest are not heard.
  SoundProcess(std::string program, std::size_t most) : program_(std::move(program)), most_(most) {}
  SoundProcess(const SoundProcess&) = delete;
  SoundProcess& operator=(const SoundProcess&) = delete;
  /// A sound that is playing goes on, for kLongestSoundSeconds at most.
  ~SoundProcess();

  /// Starts the sound and returns at once.
  void play(const EventSound& sound);

 private:
  static void onEnd(GPid process, gint status, gpointer self) noexcept;

  const std::string program_;
  const std::size_t most_;
  std::map<GPid, guint> watches_;  ///< of the processes that play
};

/// The suite's program for sounds, which is the notification helper, beside the running program.
[[nodiscard]] std::string soundProgram();

}  // namespace platform_linux
