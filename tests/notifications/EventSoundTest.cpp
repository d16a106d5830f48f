// Runs with a sound library that only notes what it is asked for.

#include <cstdlib>
#include <fstream>
#include <iostream>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "platform/linux/desktop/EventSound.h"
#include "platform/linux/desktop/Sound.h"
#include "tests/notifications/TestBus.h"

namespace camera_shot_tests {
namespace {

using platform_linux::GObjectHandle;

/// The file to which the library writes, and what it has written.
class SoundJournal {
 public:
  SoundJournal() : path_((folder_.path() / "journal").string()), file_(g_file_new_for_path(path_.c_str())) {
    setenv("SOUND_JOURNAL", path_.c_str(), 1);
    // Each change is a turn of the main loop.
    monitor_.reset(g_file_monitor_file(file_.get(), G_FILE_MONITOR_NONE, nullptr, nullptr));
  }

  bool waitFor(const std::string& text) const {
    return waitUntil([&] { return read() == text; });
  }

  std::string read() const {
    std::ostringstream text;
    text << std::ifstream(path_).rdbuf();
    return text.str();
  }

 private:
  const TemporaryFolder folder_;
  const std::string path_;
  const GObjectHandle<GFile> file_;
  GObjectHandle<GFileMonitor> monitor_;
};

TEST(EventSound, PlaysTheFirstEventThatTheThemeHas) {
  const SoundJournal journal;
  platform_linux::playEventSound({"message-new-instant", "dialog-information", "bell"});
  EXPECT_TRUE(journal.waitFor("message-new-instant\ndialog-information\n"));
}

TEST(EventSound, IsOverWhenItsEndWasWaitedFor) {
  const SoundJournal journal;
  platform_linux::playEventSoundToItsEnd({"dialog-information"});
  EXPECT_EQ(journal.read(), "dialog-information\n");
}

TEST(EventSoundDeathTest, IsSilenceForAUserWhoWantsNone) {
  // In a process of its own: settings are looked up once.
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      {
        const SoundJournal journal;
        setenv("GSETTINGS_SCHEMA_DIR", SILENT_SCHEMAS, 1);
        platform_linux::playEventSoundToItsEnd({"dialog-information"});
        std::cerr << "heard: " << journal.read();
        std::_Exit(EXIT_SUCCESS);
      },
      testing::ExitedWithCode(EXIT_SUCCESS), "^heard: $");
}

TEST(Sound, OutlivesTheObjectThatStartedIt) {
  const SoundJournal journal;
  platform_linux::Sound("camera-shutter").play();
  EXPECT_TRUE(journal.waitFor("camera-shutter\n"));
}

}  // namespace
}  // namespace camera_shot_tests
