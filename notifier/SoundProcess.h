#pragma once

#include <glib.h>

namespace notifier {

/// The sound of a notification, in a short-lived process of its own: what sound drivers load, and the threads
/// and memory that they leave behind, would burden a program that stays for as long as there is a bubble.
/// Main thread only.
class SoundProcess {
 public:
  /// The argument with which this program is started as such a process.
  static constexpr const char* kArgument = "--play-sound";

  SoundProcess() = default;
  SoundProcess(const SoundProcess&) = delete;
  SoundProcess& operator=(const SoundProcess&) = delete;
  /// A sound that is playing goes on.
  ~SoundProcess();

  /// Starts the sound and returns at once. One at a time: of notifications that come together one is heard.
  void play();

  /// What such a process does: the sound, to its end.
  static void run();

 private:
  /// Of the process that plays; 0 without one.
  guint watch_ = 0;
};

}  // namespace notifier
