// An application that tells a test everything that happens to it. What it does of its own accord is said by
// the environment: PROBE_JOURNAL is where it tells, PROBE_THEN what it does when it has launched.
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <glib-unix.h>
#include <memory>
#include <string>
#include <sys/prctl.h>
#include <thread>
#include <utility>

#include "platform/linux/application/Application.h"
#include "platform/linux/application/Log.h"
#include "platform/linux/application/RunLoop.h"
#include "platform/linux/application/RunningApplications.h"
#include "platform/linux/base/MainQueue.h"
#include "platform/linux/bus/SessionBus.h"
#include "tests/application/ProbeJournal.h"
#include "tests/support/MainLoop.h"

namespace {

constexpr const char* kIdentifier = "com.example.Probe";

std::string variable(const char* name) {
  const char* const value = std::getenv(name);
  return value ? value : "";
}

void tell(const std::string& line) {
  static const std::string journal = variable("PROBE_JOURNAL");
  if (!journal.empty()) application_tests::tellProbeJournal(journal, line);
}

std::string describe(const platform::UNNotificationResponse& response) {
  const auto& request = response.notification.request;
  return request.identifier + " " + response.actionIdentifier + " " + request.content.userInfo.at("Path");
}

platform_linux::NotificationActions notificationActions() {
  return {.actions = {{platform::UNNotificationDefaultActionIdentifier, "show-photo"},
                      {"OPEN_ACTION", "open-photo"}},
          .userInfoKey = "Path",
          .requestIdentifier = "Photo_Taken_Notification"};
}

class ProbeDelegate : public platform::NSApplicationDelegate {
 public:
  ProbeDelegate(platform_linux::Application& application, platform_linux::RunningApplications& instances,
                platform_linux::MainQueue& queue, platform_linux::RunLoop& runLoop,
                const platform_linux::SessionBus& bus)
      : application_(application), instances_(instances), queue_(queue), runLoop_(runLoop), bus_(bus) {}

  void applicationWillFinishLaunching() override {
    application_.setActivationPolicy(platform::NSApplicationActivationPolicy::Prohibited);
    tell("willFinishLaunching");
  }

  void applicationDidFinishLaunching(const platform::NSApplicationLaunchNotification& notification) override {
    const auto& click = notification.launchUserNotification;
    // The name was asked for on the same connection: calls that come from now on reach this process.
    static_cast<void>(bus_.callBus("GetId", g_variant_new("()"), "(s)"));
    tell(click ? "launched by " + describe(*click) : "didFinishLaunching");
    if (click && click->notification.request.content.userInfo.at("Path") != "/stay")
      return application_.terminate();
    const std::string then = variable("PROBE_THEN");
    if (then == "leave" || then == "leave and be asked again") application_.terminate();
    if (then == "leave twice") leaveTwice();
    if (then == "leave and withdraw") leaveAndWithdraw();
    if (then == "leave from thread") std::thread([this] { application_.terminate(); }).detach();
    if (then == "regular") application_.setActivationPolicy(platform::NSApplicationActivationPolicy::Regular);
    if (then == "regular once a display is there") becomeRegularLater();
    if (then == "show windows") showWindows();
    if (then == "count" && count() >= 2) application_.terminate();
    if (then == "count and stay") count();
    if (then == "hold for ever") holdForEver();
    if (then == "hold for a reply") holdForReply();
    if (then == "leave busy") leaveBusy();
  }

  bool applicationShouldHandleReopen(bool hasVisibleWindows) override {
    tell(std::string("reopen ") + (hasVisibleWindows ? "with windows" : "without windows") + " token '" +
         application_.takeActivationToken() + "'");
    return false;
  }
  bool applicationOpenFile(const std::string& fileName) override {
    tell("openFile " + fileName);
    return true;
  }
  platform::NSApplicationTerminateReply applicationShouldTerminate() override {
    tell("shouldTerminate");
    const bool refuse = variable("PROBE_THEN") == "refuse once" && !refused_;
    refused_ = true;
    return refuse ? platform::NSApplicationTerminateReply::Cancel
                  : platform::NSApplicationTerminateReply::Now;
  }
  void applicationWillTerminate() override {
    tell("willTerminate");
    application_.terminate();  // Once the end has begun, nothing happens.
  }
  bool applicationShouldTerminateAfterLastWindowClosed() override { return true; }

 private:
  int count() {
    const int running = instances_.runningApplicationsWithBundleIdentifier(kIdentifier);
    tell("count " + std::to_string(running));
    return running;
  }
  void showWindows() {
    application_.setVisibleWindowsHandler([] { return true; });
    application_.setActivationHandler([] { tell("windows to the front"); });
  }
  void becomeRegularLater() {
    application_.setUserInterfaceStarter([isThere = false](std::string& whyNot) mutable {
      tell(isThere ? "windows" : "no display yet");
      whyNot = "no display yet";
      return std::exchange(isThere, true);
    });
    for (int turn = 0; turn < 2; ++turn)
      queue_.async(
          [this] { application_.setActivationPolicy(platform::NSApplicationActivationPolicy::Regular); });
  }
  void leaveAndWithdraw() {
    application_.setEndHandler([this] {
      tell("withdrawn");
      application_.terminate();
    });
    application_.terminate();
  }
  void leaveTwice() {
    application_.lastWindowClosed();
    application_.terminate();
  }
  void holdForEver() {
    held_ = application_.holdEnd();
    application_.terminate();
  }
  void holdForReply() {
    bus_.call({"com.example.Helper", "/", "com.example.Helper", "Ask", g_variant_new("()"),
               test_support::kPatience},
              [held = application_.holdEnd(test_support::kPatience)](GVariant* reply, const GError*) {
                tell(reply ? "the reply came" : "the call failed");
              });
    application_.terminate();
  }
  // Whatever is due when the end begins must not run any more.
  void leaveBusy() {
    queue_.async([] { tell("late work"); });
    queue_.after(std::chrono::milliseconds(1), [] { tell("late work"); });
    timer_ = runLoop_.addRepeatingTimer(std::chrono::milliseconds(1), [] { tell("late timer"); });
    holdForEver();
  }

  platform_linux::Application& application_;
  platform_linux::RunningApplications& instances_;
  platform_linux::MainQueue& queue_;
  platform_linux::RunLoop& runLoop_;
  const platform_linux::SessionBus& bus_;
  std::shared_ptr<void> held_;
  std::shared_ptr<platform::NSTimer> timer_;
  bool refused_ = false;
};

/// No probe outlives the test, also when the bus started it: the test holds the other end of this pipe.
void followTheTest() {
  const int lifeline = ::open(variable("PROBE_LIFELINE").c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  if (lifeline >= 0)
    g_unix_fd_add(
        lifeline, G_IO_HUP, [](gint, GIOCondition, gpointer) -> gboolean { std::_Exit(EXIT_FAILURE); },
        nullptr);
}

/// The program's own only where the bus is to be given up.
std::chrono::milliseconds busPatience() {
  return variable("PROBE_BUS") == "silent" ? platform_linux::kBusPatience : test_support::kPatience;
}

/// Requests to end that come when it has ended, while the program still puts its things in order.
void askAgain() {
  for (const int number : {SIGTERM, SIGINT, SIGHUP})
    ::raise(number);
  tell("in order");
}

}  // namespace

int main(int argc, char** argv) {
  followTheTest();
  platform_linux::Log log;
  platform_linux::MainQueue queue;
  platform_linux::RunLoop runLoop;
  const platform_linux::SessionBus bus(busPatience());
  platform_linux::RunningApplications instances(bus);
  platform_linux::Application application({kIdentifier, "the-preferences", notificationActions()}, bus, queue,
                                          runLoop, log);
  application.setNotificationResponseHandler(
      [](const platform::UNNotificationResponse& response) { tell("clicked " + describe(response)); });
  ProbeDelegate delegate(application, instances, queue, runLoop, bus);
  const int status = application.run(argc, argv, delegate);
  tell("ended " + std::to_string(status));
  if (variable("PROBE_THEN") == "leave and be asked again") askAgain();
  return status;
}
