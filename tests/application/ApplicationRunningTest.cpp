// What reaches the application while it runs, and how it ends.
#include <algorithm>
#include <csignal>

#include <gmock/gmock.h>

#include "tests/application/GLibLoop.h"
#include "tests/application/ProbeFixture.h"

namespace application_tests {

namespace {

using platform_linux::GObjectRef;

class ApplicationRunning : public ProbeTest {
 protected:
  std::unique_ptr<ProcessUnderTest> running(const std::string& then = {}) {
    bus();
    auto probe = start(then);
    journal_.waitFor("didFinishLaunching");
    return probe;
  }
};

TEST_F(ApplicationRunning, TheDesktopsCallsReachIt) {
  const auto probe = running();
  EXPECT_EQ(activate("a token"), "");
  EXPECT_EQ(open("file:///a"), "");
  EXPECT_EQ(activateAction("preferences", ""), "");
  EXPECT_EQ(activateAction("show-photo", "/p"), "");
  EXPECT_EQ(activateAction("open-photo", "/p"), "");
  EXPECT_NE(activateAction("no-such-action", ""), "");
  expectLines({"reopen without windows token 'a token'", "openFile /a", "openFile the-preferences",
               "clicked Photo_Taken_Notification UNNotificationDefaultActionIdentifier /p",
               "clicked Photo_Taken_Notification OPEN_ACTION /p"});
}

// As Plasma's launcher sends it on X11, without a byte of zero at its end.
TEST_F(ApplicationRunning, TheStartupIdentifierMayComeAsBytes) {
  const auto probe = running();
  const std::string identifier = "plasma-7_TIME42";
  GVariant* const bytes =
      g_variant_new_fixed_array(G_VARIANT_TYPE_BYTE, identifier.data(), identifier.size(), 1);
  EXPECT_EQ(call("Activate", g_variant_new_parsed("({'desktop-startup-id': <%@ay>},)", bytes)), "");
  EXPECT_EQ(call("Activate", g_variant_new_parsed("({'desktop-startup-id': <b'bytes of C'>},)")), "");
  EXPECT_EQ(call("Activate", g_variant_new_parsed("({'desktop-startup-id': <7>},)")), "");
  expectLines({"reopen without windows token 'plasma-7_TIME42'", "reopen without windows token 'bytes of C'",
               "reopen without windows token ''"});
}

TEST_F(ApplicationRunning, StartedAgainItsWindowsComeToTheFront) {
  const auto probe = running("show windows");
  EXPECT_EQ(activate(), "");
  expectLines({"windows to the front", "reopen with windows token ''"});
}

TEST_F(ApplicationRunning, ASecondProcessDoesNotDisturbTheFirst) {
  const auto first = running();
  const auto second = start();
  journal_.waitFor("didFinishLaunching");
  EXPECT_EQ(activate(), "");
  expectLines({"reopen without windows token ''"});
  EXPECT_EQ(journal_.teller(), first->id());
}

TEST_F(ApplicationRunning, ASecondProcessIsCalledOnceTheFirstHasGone) {
  const auto first = running();
  const auto second = start();
  journal_.waitFor("didFinishLaunching");
  const int heir = journal_.teller();
  first->signal(SIGTERM);
  journal_.waitFor("ended 0");
  EXPECT_EQ(activate(), "");
  expectLines({"reopen without windows token ''"});
  EXPECT_EQ(journal_.teller(), heir);
}

class ApplicationSignal : public ApplicationRunning, public testing::WithParamInterface<int> {};

TEST_P(ApplicationSignal, AsksForTheEnd) {
  const auto probe = running();
  probe->signal(GetParam());
  expectLines({"shouldTerminate", "willTerminate", "ended 0"});
  EXPECT_EQ(probe->wait(), 0);
}

INSTANTIATE_TEST_SUITE_P(All, ApplicationSignal, testing::Values(SIGTERM, SIGINT, SIGHUP));

// After the main loop's end a photo may still be on its way to the disk.
TEST_F(ApplicationRunning, ToBeAskedAgainCutsNothingShort) {
  const auto probe = running("leave and be asked again");
  expectLines({"shouldTerminate", "willTerminate", "ended 0", "in order"});
  EXPECT_EQ(probe->wait(), 0);
}

TEST_F(ApplicationRunning, TheDelegateMayRefuseTheEnd) {
  const auto probe = running("refuse once");
  probe->signal(SIGTERM);
  expectLines({"shouldTerminate"});
  EXPECT_EQ(activate(), "");
  expectLines({"reopen without windows token ''"});
  probe->signal(SIGTERM);
  expectLines({"shouldTerminate", "willTerminate", "ended 0"});
}

TEST_F(ApplicationRunning, TheEndComesOnce) {
  const auto probe = running("leave twice");
  expectLines({"shouldTerminate", "willTerminate", "ended 0"});
}

TEST_F(ApplicationRunning, AnyThreadMayAskForTheEnd) {
  const auto probe = running("leave from thread");
  expectLines({"shouldTerminate", "willTerminate", "ended 0"});
}

TEST_F(ApplicationRunning, WhatOthersCanAskOfItIsWithdrawnOnceAtTheEnd) {
  const auto probe = running("leave and withdraw");
  expectLines({"shouldTerminate", "willTerminate", "withdrawn", "ended 0"});
}

TEST_F(ApplicationRunning, WindowsThatCouldNotBeShownAreTriedAgain) {
  const auto probe = running("regular once a display is there");
  expectLines({"no display yet", "windows"});
  probe->signal(SIGTERM);
  expectLines({"shouldTerminate", "willTerminate", "ended 0"});
}

TEST_F(ApplicationRunning, NothingThatIsDueRunsAfterTheEndHasBegun) {
  const auto probe = running("leave busy");
  expectLines({"shouldTerminate", "willTerminate", "ended 0"});
}

TEST_F(ApplicationRunning, AHoldThatIsNeverGivenBackIsBounded) {
  const auto probe = running("hold for ever");
  expectLines({"shouldTerminate", "willTerminate", "ended 0"});
}

/// A program that the application calls, and that answers only when the test says so.
class SlowHelper {
 public:
  explicit SlowHelper(GDBusConnection* connection) : connection_(connection) {
    const platform_linux::GDBusNodeInfoHandle description(g_dbus_node_info_new_for_xml(
        R"(<node><interface name="com.example.Helper"><method name="Ask"/></interface></node>)", nullptr));
    registration_ = g_dbus_connection_register_object(connection_, "/", description->interfaces[0], &kMethods,
                                                      this, nullptr, nullptr);
  }
  SlowHelper(const SlowHelper&) = delete;
  SlowHelper& operator=(const SlowHelper&) = delete;
  ~SlowHelper() { g_dbus_connection_unregister_object(connection_, registration_); }

  bool waitForTheCall() {
    turnUntil([this] { return static_cast<bool>(call_); });
    return static_cast<bool>(call_);
  }
  void answer() {
    g_dbus_method_invocation_return_value(call_.release(), nullptr);
    g_dbus_connection_flush_sync(connection_, nullptr, nullptr);
  }

 private:
  static void onCall(GDBusConnection*, const char*, const char*, const char*, const char*, GVariant*,
                     GDBusMethodInvocation* call, gpointer data) noexcept {
    static_cast<SlowHelper*>(data)->call_ = GObjectRef<GDBusMethodInvocation>::adopt(call);
  }
  static constexpr GDBusInterfaceVTable kMethods{onCall, nullptr, nullptr, {}};

  GDBusConnection* const connection_;
  GObjectRef<GDBusMethodInvocation> call_;
  guint registration_ = 0;
};

TEST_F(ApplicationRunning, AHoldKeepsTheProcessUntilTheReplyCame) {
  SlowHelper helper(client().connection());
  ASSERT_TRUE(client().ask("RequestName", g_variant_new("(su)", "com.example.Helper", 0U)));
  const auto probe = running("hold for a reply");
  ASSERT_TRUE(helper.waitForTheCall());
  expectLines({"shouldTerminate", "willTerminate"});
  helper.answer();
  expectLines({"the reply came", "ended 0"});
}

TEST_F(ApplicationRunning, TheNamesAreFreeWhileAHoldLasts) {
  const auto probe = running("hold for ever");
  journal_.waitFor("willTerminate");
  const int old = journal_.teller();
  EXPECT_EQ(activateAction("show-photo", "/p"), "");
  EXPECT_EQ(journal_.waitFor("launched by"),
            "launched by Photo_Taken_Notification UNNotificationDefaultActionIdentifier /p");
  EXPECT_NE(journal_.teller(), old);
}

TEST_F(ApplicationRunning, OutlivesTheBus) {
  const auto probe = running();
  bus().kill();
  probe->signal(SIGTERM);
  expectLines({"shouldTerminate", "willTerminate", "ended 0"});
  EXPECT_EQ(probe->wait(), 0);
}

TEST_F(ApplicationRunning, EndsOnABusThatAnswersNothing) {
  environment_["PROBE_BUS"] = "silent";
  const auto probe = running();
  bus().pause();
  probe->signal(SIGTERM);
  expectLines({"shouldTerminate", "willTerminate", "ended 0"});
  EXPECT_EQ(probe->wait(), 0);
  bus().resume();
}

// Each click launches a process that leaves at once; the next click is sent a little later every time, so
// that it meets the leaving process in every state. Each must be heard exactly once.
TEST_F(ApplicationRunning, NoClickIsLostAroundTheEnd) {
  bus();
  constexpr int kClicks = 150;
  constexpr int kDelays = 30;
  std::vector<std::string> sent;
  for (int i = 0; i < kClicks; ++i) {
    sent.push_back("/photo " + std::to_string(i));
    EXPECT_EQ(activateAction("show-photo", sent.back()), "");
    journal_.waitFor(sent.back());
    for (int delay = 0; delay < i % kDelays; ++delay)
      client().ask("GetId", nullptr);
  }
  std::vector<std::string> heard;
  for (const std::string& line : journal_.lines())
    if (const auto at = line.find("/photo "); at != std::string::npos) heard.push_back(line.substr(at));
  EXPECT_EQ(heard, sent);
}

/// Clicks that are sent without waiting for an answer to the one before.
class ClicksAtOnce {
 public:
  void send(GDBusConnection* connection, const std::string& path) {
    GVariantBuilder parameters;
    g_variant_builder_init(&parameters, G_VARIANT_TYPE("av"));
    g_variant_builder_add(&parameters, "v", g_variant_new_string(path.c_str()));
    g_dbus_connection_call(connection, kProbeIdentifier, "/com/example/Probe", "org.freedesktop.Application",
                           "ActivateAction", g_variant_new("(sava{sv})", "show-photo", &parameters, nullptr),
                           nullptr, G_DBUS_CALL_FLAGS_NONE, -1, nullptr, &ClicksAtOnce::onAnswer, this);
  }
  int answered() const { return answered_; }
  const std::vector<std::string>& errors() const { return errors_; }

 private:
  static void onAnswer(GObject* source, GAsyncResult* result, gpointer data) noexcept {
    auto* const self = static_cast<ClicksAtOnce*>(data);
    platform_linux::GErrorHandle error;
    const platform_linux::GVariantHandle reply(
        g_dbus_connection_call_finish(G_DBUS_CONNECTION(source), result, error.out()));
    ++self->answered_;
    if (error) self->errors_.push_back(error.message());
  }

  int answered_ = 0;
  std::vector<std::string> errors_;
};

// The first click launches a process that leaves at once, with all the others already on their way to it:
// each process hands on what it has not answered, and whoever sent a click hears from the one that did.
TEST_F(ApplicationRunning, ClicksThatReachALeavingProcessGoToTheNextOne) {
  constexpr int kClicks = 5;
  ClicksAtOnce clicks;
  std::vector<std::string> sent;
  for (int i = 0; i < kClicks; ++i) {
    sent.push_back("/photo " + std::to_string(i));
    clicks.send(client().connection(), sent.back());
  }
  std::vector<std::string> heard;
  for (int i = 0; i < kClicks; ++i) {
    const std::string line = journal_.waitFor("/photo ");
    heard.push_back(line.substr(std::min(line.size(), line.find("/photo "))));
  }
  turnUntil([&] { return clicks.answered() == kClicks; });
  EXPECT_THAT(heard, testing::UnorderedElementsAreArray(sent));
  EXPECT_EQ(clicks.answered(), kClicks);
  EXPECT_THAT(clicks.errors(), testing::IsEmpty());
}

}  // namespace

}  // namespace application_tests
