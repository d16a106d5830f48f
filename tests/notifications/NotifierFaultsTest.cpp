// Every call of the helper to the system fails once: whoever posts learns at once that nobody took the
// notification, or it is shown, or its process ends; nothing hangs, nothing stays, and the next notification
// is shown.
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/notifications/NotifierFixture.h"
#include "tests/notifications/Processes.h"
#include "tests/support/BusClient.h"
#include "tests/support/MainLoop.h"
#include "tests/support/PrivateBus.h"
#include "tests/support/TemporaryFolder.h"

namespace camera_shot_tests {
namespace {

using test_support::PrivateBus;
using test_support::TemporaryFolder;
using test_support::waitUntil;

/// More calls of one kind than the helper makes for a notification.
constexpr int kMostCalls = 500;
/// A helper stays two seconds after its last bubble: so many live beside each other.
constexpr int kSideBySide = 12;

/// How a kind of call fails.
struct Fault {
  const char* call;
  int error;
};

/// A bus whose helper has one failing call, and its notification service.
class Scene {
 public:
  Scene(const Fault& fault, int which) : about_(fault.call + (' ' + std::to_string(which)) + ": ") {
    std::ofstream(folder_ / "plan") << fault.call << ' ' << which << ' ' << fault.error << '\n';
    // Its own path may have spaces, at which the variable's value is split.
    const std::string library = folder_ / "failing_call.so";
    std::filesystem::create_symlink(FAILING_CALL_LIBRARY, library);
    bus_.addService(kNotifier,
                    {"/usr/bin/env", "LD_PRELOAD=" + library, "FAILING_CALL_PLAN=" + folder_ / "plan",
                     "FAILING_CALL_REPORT=" + folder_ / "report", NOTIFIER_PROGRAM});
    service_ = makeService(bus_.address());
    // The main loop hears of the helper's end.
    watch_ =
        g_bus_watch_name_on_connection(service_->client().connection(), kNotifier.c_str(),
                                       G_BUS_NAME_WATCHER_FLAGS_NONE, nullptr, nullptr, nullptr, nullptr);
  }
  Scene(const Scene&) = delete;
  Scene& operator=(const Scene&) = delete;
  ~Scene() { g_bus_unwatch_name(watch_); }

  void postFirst() {
    const auto posted = post(service_->client(), kPhoto);
    helper_ = readProcess();
    ASSERT_NE(helper_, 0) << about_;
    EXPECT_THAT(posted.message(), testing::Not(testing::HasSubstr("imed out")))
        << about_ << "nobody is told in time";
    if (!posted) return;
    EXPECT_TRUE(waitUntil([&] { return !isRunning() || isShown(1); })) << about_ << "neither shown nor ended";
    if (isShown(1)) service_->emit("NotificationClosed", g_variant_new("(uu)", 1U, 2U));
  }

  void expectTheEnd() const { EXPECT_TRUE(waitForEnd(helper_)) << about_ << "the helper stays"; }

  void expectTheNextOneIsShown() const {
    const std::size_t before = service_->callsOf("Notify").size();
    EXPECT_TRUE(post(service_->client(), kFailure, "Failure")) << about_;
    EXPECT_TRUE(waitUntil([&] { return isShown(before + 1); })) << about_ << "the next one is not shown";
  }

  bool hasFailed() const {
    std::ifstream report(folder_ / "report");
    std::string process, call;
    report >> process >> call;
    return !call.empty();
  }

 private:
  pid_t readProcess() const {
    pid_t process = 0;
    std::ifstream(folder_ / "report") >> process;
    return process;
  }
  bool isShown(std::size_t number) const { return service_->callsOf("Notify").size() >= number; }
  bool isRunning() const { return service_->client().hasOwner(kNotifier); }

  const std::string about_;
  const TemporaryFolder folder_;
  const PrivateBus bus_{PrivateBus::Environment{}};
  std::unique_ptr<MockService> service_;
  guint watch_ = 0;
  pid_t helper_ = 0;
};

class NotifierFaults : public testing::TestWithParam<Fault> {};

TEST_P(NotifierFaults, ANotificationIsShownOrRefusedAndNothingHangs) {
  int failed = 0;
  bool goesOn = true;
  for (int first = 0; goesOn && first < kMostCalls && !HasFailure(); first += kSideBySide) {
    std::vector<std::unique_ptr<Scene>> scenes;
    for (int which = first; which < first + kSideBySide; ++which)
      scenes.push_back(std::make_unique<Scene>(GetParam(), which));
    for (const auto& scene : scenes)
      scene->postFirst();
    for (const auto& scene : scenes) {
      scene->expectTheEnd();
      scene->expectTheNextOneIsShown();
      failed += scene->hasFailed() ? 1 : 0;
      goesOn = goesOn && scene->hasFailed();
    }
  }
  EXPECT_GT(failed, 0);
  EXPECT_FALSE(goesOn) << "the helper makes more calls than were tried";
}

INSTANTIATE_TEST_SUITE_P(EachCall, NotifierFaults,
                         testing::Values(Fault{"socket", EMFILE}, Fault{"connect", ECONNREFUSED},
                                         Fault{"connect", EINTR}, Fault{"sendmsg", EPIPE},
                                         Fault{"sendmsg", EINTR}, Fault{"recvmsg", ECONNRESET},
                                         Fault{"recvmsg", EINTR}, Fault{"poll", EINTR}, Fault{"poll", ENOMEM},
                                         Fault{"eventfd", EMFILE}),
                         [](const auto& about) {
                           return std::string(about.param.call) + '_' + strerrorname_np(about.param.error);
                         });

}  // namespace
}  // namespace camera_shot_tests
