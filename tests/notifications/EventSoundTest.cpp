// Runs with a sound library that only notes what it is asked for.

#include <cstdlib>
#include <iostream>

#include <gtest/gtest.h>

#include "platform/linux/desktop/EventSound.h"
#include "platform/linux/desktop/Sound.h"
#include "tests/notifications/SoundJournal.h"

namespace camera_shot_tests {
namespace {

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
