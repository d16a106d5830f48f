// Runs with a sound library that only notes what it is asked for, or hangs.

#include <cstdlib>
#include <memory>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/linux/desktop/Sound.h"
#include "tests/notifications/Processes.h"
#include "tests/notifications/SoundJournal.h"

namespace camera_shot_tests {
namespace {

using platform_linux::EventSound;
using platform_linux::notificationSound;
using platform_linux::SoundProcess;

const EventSound kShutter{{"camera-shutter"}};
/// What the library notes of a notification's sound, whose second event it has.
const std::string kNotificationHeard = "message-new-instant\ndialog-information\n";

/// The environment of the processes that play.
class Sounds : public testing::Test {
 protected:
  ~Sounds() override {
    unsetenv("GSETTINGS_SCHEMA_DIR");
    unsetenv("SOUND_HANGS");
  }
  static void useSchemas(const std::string& name) {
    setenv("GSETTINGS_SCHEMA_DIR", (std::string(SCHEMAS) + "/" + name).c_str(), 1);
  }
  std::string heardOf(const EventSound& sound) {
    player_.play(sound);
    EXPECT_TRUE(waitUntilChildless(getpid()));
    return journal_.read();
  }

  const SoundJournal journal_;
  SoundProcess player_{SOUND_PROGRAM, 2};
};

TEST_F(Sounds, PlaysTheFirstEventThatTheThemeHas) {
  EXPECT_EQ(heardOf({{"message-new-instant", "dialog-information", "bell"}}), kNotificationHeard);
}

TEST_F(Sounds, AreSilentForAUserWhoWantsNone) {
  useSchemas("no-event-sounds");
  EXPECT_EQ(heardOf(kShutter), "");
  EXPECT_EQ(heardOf(notificationSound("com.example.App")), "");
}

TEST_F(Sounds, OfNotificationsAreSilentWhileTheUserIsNotToBeDisturbed) {
  useSchemas("no-banners");
  EXPECT_EQ(heardOf(notificationSound("com.example.App")), "");
  EXPECT_EQ(heardOf(kShutter), "camera-shutter\n");
}

TEST_F(Sounds, OfNotificationsAreSilentForAUserWhoWantsNoneOfThisApplication) {
  useSchemas("no-application-sounds");
  EXPECT_EQ(heardOf(notificationSound("com.example.App")), "");
  EXPECT_EQ(heardOf(kShutter), "camera-shutter\n");
}

TEST_F(Sounds, ThatHangAreFewAndEnd) {
  setenv("SOUND_HANGS", "play", 1);
  for (int count = 0; count < 5; ++count)
    player_.play(kShutter);
  EXPECT_TRUE(journal_.waitFor("camera-shutter\ncamera-shutter\n"));
  EXPECT_TRUE(waitUntilChildless(getpid()));
  EXPECT_EQ(journal_.read(), "camera-shutter\ncamera-shutter\n");
}

TEST_F(Sounds, WithoutAProgramForThemAreSilence) {
  SoundProcess("/nowhere/program", 1).play(kShutter);
  EXPECT_TRUE(waitUntilChildless(getpid()));
  EXPECT_EQ(journal_.read(), "");
}

TEST_F(Sounds, OutliveTheObjectsThatStartedThem) {
  auto player = std::make_unique<SoundProcess>(SOUND_PROGRAM, 1);
  platform_linux::Sound(*player, kShutter).play();
  player.reset();
  EXPECT_TRUE(journal_.waitFor("camera-shutter\n"));
}

}  // namespace
}  // namespace camera_shot_tests
