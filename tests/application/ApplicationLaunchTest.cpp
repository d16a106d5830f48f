// How the application launches: by hand, by the bus, with and without a bus.
#include <csignal>
#include <filesystem>
#include <sys/socket.h>
#include <sys/un.h>

#include <gmock/gmock.h>

#include "platform/linux/base/FileDescriptor.h"
#include "tests/application/ProbeFixture.h"

namespace application_tests {

namespace {

const std::vector<std::string> kWholeRun{"willFinishLaunching", "didFinishLaunching", "shouldTerminate",
                                         "willTerminate", "ended 0"};

using ApplicationLaunch = ProbeTest;

TEST_F(ApplicationLaunch, ByHandItRunsFromLaunchToEnd) {
  bus();
  const auto probe = start("leave");
  expectLines(kWholeRun);
  EXPECT_EQ(probe->wait(), 0);
}

TEST_F(ApplicationLaunch, EveryArgumentIsAFileToOpenBeforeTheLaunchIsOver) {
  bus();
  const auto probe = start("leave", {"a file", "/b", "file:///c%20d", "--help", "--gapplication-service"});
  const std::string here = std::filesystem::current_path().string();
  expectLines({"willFinishLaunching", "openFile " + here + "/a file", "openFile /b", "openFile /c d",
               "openFile " + here + "/--help", "openFile " + here + "/--gapplication-service",
               "didFinishLaunching"});
  EXPECT_EQ(probe->wait(), 0);
}

TEST_F(ApplicationLaunch, WithoutABusItRunsAllTheSame) {
  const auto probe = start("leave");
  expectLines(kWholeRun);
  EXPECT_EQ(probe->wait(), 0);
}

TEST_F(ApplicationLaunch, WithADeadBusAddressItRunsAllTheSame) {
  environment_["DBUS_SESSION_BUS_ADDRESS"] = "unix:path=" + (folder_.path() / "nobody").string();
  const auto probe = start("leave");
  expectLines(kWholeRun);
  EXPECT_EQ(probe->wait(), 0);
}

TEST_F(ApplicationLaunch, WithABusThatNeverGreetsItRunsAllTheSame) {
  const auto path = folder_.path() / "mute";
  const platform_linux::FileDescriptor mute(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  path.string().copy(address.sun_path, sizeof address.sun_path - 1);
  const void* const untyped = &address;
  ASSERT_EQ(::bind(mute.get(), static_cast<const sockaddr*>(untyped), sizeof address), 0);
  ASSERT_EQ(::listen(mute.get(), 5), 0);
  environment_["DBUS_SESSION_BUS_ADDRESS"] = "unix:path=" + path.string();
  environment_["PROBE_BUS"] = "silent";
  const auto probe = start("leave");
  expectLines(kWholeRun);
  EXPECT_EQ(probe->wait(), 0);
}

TEST_F(ApplicationLaunch, ByTheBusItLaunchesWhenActivated) {
  bus();
  EXPECT_EQ(activate(), "");
  expectLines({"willFinishLaunching", "didFinishLaunching"});
}

TEST_F(ApplicationLaunch, ByTheBusItOpensTheFilesAtLaunch) {
  bus();
  EXPECT_EQ(open("file:///a%20file"), "");
  expectLines({"willFinishLaunching", "openFile /a file", "didFinishLaunching"});
}

TEST_F(ApplicationLaunch, ByTheBusForThePreferencesItOpensTheirFile) {
  bus();
  EXPECT_EQ(activateAction("preferences", ""), "");
  expectLines({"willFinishLaunching", "openFile the-preferences", "didFinishLaunching"});
}

TEST_F(ApplicationLaunch, AClickOnANotificationLaunchesItWithTheClick) {
  bus();
  EXPECT_EQ(activateAction("show-photo", "/a photo.png"), "");
  expectLines({"willFinishLaunching",
               "launched by Photo_Taken_Notification UNNotificationDefaultActionIdentifier /a photo.png",
               "shouldTerminate", "willTerminate", "ended 0"});
  EXPECT_EQ(activateAction("open-photo", "/another.png"), "");
  expectLines({"willFinishLaunching", "launched by Photo_Taken_Notification OPEN_ACTION /another.png"});
}

// Whoever was launched by a click answers clicks and nothing else before it leaves: the rest is for the next
// process.
TEST_F(ApplicationLaunch, OtherCallsThatReachAProcessLaunchedByAClickAreHandedOn) {
  bus();
  EXPECT_EQ(activateAction("show-photo", "/stay"), "");
  expectLines({"willFinishLaunching",
               "launched by Photo_Taken_Notification UNNotificationDefaultActionIdentifier /stay"});
  const int clicked = journal_.teller();
  g_dbus_connection_call(client().connection(), kProbeIdentifier, "/com/example/Probe",
                         "org.freedesktop.Application", "Activate", g_variant_new("(a{sv})", nullptr),
                         nullptr, G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr, nullptr);
  EXPECT_EQ(activateAction("open-photo", "/another.png"), "");
  expectLines({"clicked Photo_Taken_Notification OPEN_ACTION /another.png"});
  ::kill(clicked, SIGTERM);
  expectLines({"shouldTerminate", "willTerminate"});
  for (std::string line; line != "didFinishLaunching" && line != "(nothing came)";) {
    line = journal_.next();
    EXPECT_THAT(line, testing::AnyOf("ended 0", "willFinishLaunching", "didFinishLaunching"));
  }
  EXPECT_NE(journal_.teller(), clicked);
}

TEST_F(ApplicationLaunch, AnUnknownActionIsRefusedAndLaunchesNothing) {
  bus();
  EXPECT_NE(activateAction("no-such-action", "/a photo.png"), "");
  EXPECT_EQ(activate(), "");
  expectLines({"willFinishLaunching", "didFinishLaunching"});
}

TEST_F(ApplicationLaunch, ByTheBusWithoutAnyCallItLeavesUntold) {
  bus();
  const auto probe = start("", {"--gapplication-service"});
  expectLines({"ended 0"});
  EXPECT_EQ(probe->wait(), 0);
}

TEST_F(ApplicationLaunch, ByTheBusWithoutABusItLeavesAtOnce) {
  const auto probe = start("", {"--gapplication-service"});
  expectLines({"ended 0"});
  EXPECT_EQ(probe->wait(), 0);
}

TEST_F(ApplicationLaunch, WithoutWindowsARegularApplicationFailsAndSaysWhy) {
  bus();
  const auto probe = start("regular");
  expectLines({"willFinishLaunching", "didFinishLaunching", "willTerminate", "ended 1"});
  EXPECT_EQ(probe->wait(), 1);
  EXPECT_GT(std::filesystem::file_size(folder_.path() / "stderr"), 0U);
}

}  // namespace

}  // namespace application_tests
