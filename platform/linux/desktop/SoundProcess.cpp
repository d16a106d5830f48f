#include "platform/linux/desktop/SoundProcess.h"

#include <filesystem>
#include <system_error>
#include <vector>

#include "platform/linux/base/Handles.h"

namespace platform_linux {

SoundProcess::~SoundProcess() {
  for (const auto& [process, watch] : watches_)
    g_source_remove(watch);
}

void SoundProcess::play(const EventSound& sound) {
  if (watches_.size() >= most_) return;
  std::vector<std::string> words = sound.words();
  // The file, the process's name, and what it is told.
  words.insert(words.begin(), {program_, "quillo-camera-shot-notifier", kArgument});
  std::vector<char*> command;
  for (std::string& word : words)
    command.push_back(word.data());
  command.push_back(nullptr);
  // Nothing is open that a child would inherit.
  constexpr auto kFlags = static_cast<GSpawnFlags>(G_SPAWN_FILE_AND_ARGV_ZERO | G_SPAWN_DO_NOT_REAP_CHILD |
                                                   G_SPAWN_LEAVE_DESCRIPTORS_OPEN);
  GPid process = 0;
  GErrorHandle error;
  if (!g_spawn_async(nullptr, command.data(), nullptr, kFlags, nullptr, nullptr, &process, error.out())) {
    g_message("No sound: %s", error.message().c_str());
    return;
  }
  watches_[process] = g_child_watch_add(process, &SoundProcess::onEnd, this);
}

void SoundProcess::onEnd(GPid process, gint, gpointer self) noexcept {
  static_cast<SoundProcess*>(self)->watches_.erase(process);
}

std::string soundProgram() {
  std::error_code ignored;
  const auto program = std::filesystem::read_symlink("/proc/self/exe", ignored);
  return (program.parent_path() / CAMERA_SHOT_SOUND_PROGRAM_FROM_PROGRAM).lexically_normal().string();
}

}  // namespace platform_linux
