// The helper's object on the bus, in the process of the test, where its place on the bus is taken by another.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "notifier/Service.h"
#include "platform/linux/bus/BusNames.h"
#include "tests/notifications/NotifierFixture.h"
#include "tests/support/MainLoop.h"
#include "tests/support/PrivateBus.h"

namespace camera_shot_tests {

using test_support::PrivateBus;
using test_support::waitUntil;

namespace {

using ::testing::HasSubstr;
using ::testing::SizeIs;

TEST(NotifierService, APostInItsHandsIsShownAlthoughAnotherHasTheName) {
  PrivateBus bus;
  const auto daemon = makeService(bus.address());
  const auto other = makeHelper(bus.address());
  const platform_linux::SessionBus session(test_support::kPatience);
  const std::string self = g_dbus_connection_get_unique_name(session.connection());

  // The bus reads what comes over one connection in its order: the notification reaches the helper first, and
  // then the answer that the name is another's.
  bus.pause();
  g_dbus_connection_call(
      session.connection(), self.c_str(), platform_linux::objectPath(kNotifier).c_str(), kNotifier.c_str(),
      "Post",
      g_variant_new_parsed("(%s, 'Photo', {'title': <'Taken'>, 'default-action': <'app.show-photo'>, "
                           "'default-action-target': <'/a.png'>, 'default-action-label': <'Show'>})",
                           kApplication.c_str()),
      nullptr, G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr, nullptr);
  g_dbus_connection_flush_sync(session.connection(), nullptr, nullptr);
  bool ended = false;
  const notifier::Service helper(session, kNotifier, [&ended] { ended = true; });
  bus.resume();

  ASSERT_TRUE(waitUntil([&] { return ended || !daemon->callsOf("Notify").empty(); }));
  ASSERT_THAT(daemon->callsOf("Notify"), SizeIs(1)) << "it left with the notification in its hands";
  EXPECT_THAT(daemon->callsOf("Notify")[0], HasSubstr("'Taken'"));

  // And a click on it works.
  const auto application = makeApplication(bus.address());
  daemon->emit("ActionInvoked", g_variant_new("(us)", 1U, "default"));
  ASSERT_TRUE(application->waitForCalls(1));
  EXPECT_THAT(application->calls()[0].arguments, HasSubstr("/a.png"));
  EXPECT_TRUE(waitUntil([&] { return ended; }));
}

}  // namespace
}  // namespace camera_shot_tests
