// The sounds of the helper program's notifications.

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "tests/notifications/NotifierOnABus.h"
#include "tests/notifications/Processes.h"
#include "tests/notifications/SoundJournal.h"

namespace camera_shot_tests {
namespace {

using test_support::waitUntil;

/// A sound library that hangs where the test says, and notes what it is asked for.
class SoundOfANotification : public Notifier {
 protected:
  void hangIn(const char* where) {
    GVariantBuilder environment;
    g_variant_builder_init(&environment, G_VARIANT_TYPE("a{ss}"));
    g_variant_builder_add(&environment, "{ss}", "LD_LIBRARY_PATH", RECORDING_SOUND_LIBRARY);
    g_variant_builder_add(&environment, "{ss}", "SOUND_HANGS", where);
    g_variant_builder_add(&environment, "{ss}", "SOUND_JOURNAL", std::getenv("SOUND_JOURNAL"));
    service_->client().ask("UpdateActivationEnvironment", g_variant_new("(a{ss})", &environment));
  }
  bool postWithSound(const std::string& identifier) const {
    return post(service_->client(), "{'title': <'Taken'>, 'sound': <'default'>}", identifier);
  }
  bool heard(std::size_t times) const {
    return waitUntil([&] {
      const std::string lines = journal_.read();
      return static_cast<std::size_t>(std::ranges::count(lines, '\n')) >= times;
    });
  }

  const SoundJournal journal_;
};

TEST_F(SoundOfANotification, IsHeardAgainAlthoughTheLibraryHangsAtTheEnd) {
  hangIn("destroy");
  ASSERT_TRUE(postWithSound("One"));
  ASSERT_TRUE(heard(2)) << "two events, of which the theme has the second";
  const pid_t helper = service_->client().processOf(kNotifier);
  ASSERT_TRUE(waitUntilChildless(helper));
  ASSERT_TRUE(postWithSound("Two"));
  EXPECT_TRUE(heard(4));
}

TEST_F(SoundOfANotification, IsNotHeardWhileTheServiceIsToldNotToDisturb) {
  serve(ServiceAnswers(), Disturbing::No);
  hangIn("nowhere");
  ASSERT_TRUE(postWithSound("One"));
  ASSERT_TRUE(waitUntil([&] { return service_->propertyReads() == 1; }));
  // The helper has the answer, and has acted upon it, before it has what this client says afterwards.
  ASSERT_TRUE(post(service_->client(), kFailure, "Error"));
  ASSERT_TRUE(waitForNotifications(2));
  ASSERT_TRUE(waitUntilChildless(service_->client().processOf(kNotifier)));
  EXPECT_EQ(journal_.read(), "");
  serve(ServiceAnswers(), Disturbing::Yes);
  ASSERT_TRUE(postWithSound("Two"));
  ASSERT_TRUE(heard(2));
  ASSERT_TRUE(waitUntilChildless(service_->client().processOf(kNotifier)));
  EXPECT_EQ(journal_.read(), "message-new-instant\ndialog-information\n");
}

TEST_F(SoundOfANotification, IsNotHeardWhileXfceIsToldNotToDisturb) {
  auto settings = std::make_unique<MockService>(
      bus_.address(), "org.xfce.Xfconf",
      "<method name='GetProperty'><arg type='s' direction='in'/><arg type='s' direction='in'/>"
      "<arg type='v' direction='out'/></method>",
      [](const MockService::Call&) { return g_variant_new("(v)", g_variant_new_boolean(TRUE)); });
  hangIn("nowhere");
  ASSERT_TRUE(postWithSound("One"));
  ASSERT_TRUE(settings->waitForCalls(1));
  EXPECT_EQ(settings->calls()[0].arguments, "('xfce4-notifyd', '/do-not-disturb')");
  // The helper has the answer, and has acted upon it, before it has what this client says afterwards.
  ASSERT_TRUE(post(settings->client(), kFailure, "Error"));
  ASSERT_TRUE(waitForNotifications(2));
  ASSERT_TRUE(waitUntilChildless(service_->client().processOf(kNotifier)));
  EXPECT_EQ(journal_.read(), "");
  settings = nullptr;
  ASSERT_TRUE(postWithSound("Two"));
  ASSERT_TRUE(heard(2));
  ASSERT_TRUE(waitUntilChildless(service_->client().processOf(kNotifier)));
  EXPECT_EQ(journal_.read(), "message-new-instant\ndialog-information\n");
}

TEST_F(SoundOfANotification, ThatHangsEndsWithinItsBound) {
  hangIn("play");
  ASSERT_TRUE(postWithSound("One"));
  ASSERT_TRUE(heard(1));
  EXPECT_TRUE(waitUntilChildless(service_->client().processOf(kNotifier)));
}

}  // namespace
}  // namespace camera_shot_tests
