// The promises of the count of processes, kept on a bus, by the lock file and by the fake alike.
#include <csignal>
#include <cstdlib>
#include <deque>

#include "platform/linux/application/RunningApplications.h"
#include "tests/application/ProbeFixture.h"
#include "tests/contract/NSRunningApplicationContract.h"
#include "tests/fakes/FakeAppKit.h"
#include "tests/support/MainLoop.h"
#include "tests/support/PrivateBus.h"
#include "tests/support/TemporaryFolder.h"

namespace contract {

namespace {

using application_tests::ProcessUnderTest;

/// Probe applications beside the test, in a session with or without a bus.
class RealProcesses : public NSRunningApplicationFactory {
 public:
  explicit RealProcesses(bool hasBus) {
    environment_["PROBE_THEN"] = "count and stay";
    environment_["DBUS_SESSION_BUS_ADDRESS"] = "";
    if (hasBus) {
      bus_ = std::make_unique<test_support::PrivateBus>(environment_);
      environment_["DBUS_SESSION_BUS_ADDRESS"] = bus_->address();
    }
    for (const char* const name : {"XDG_RUNTIME_DIR", "DBUS_SESSION_BUS_ADDRESS"})
      ::setenv(name, environment_[name].c_str(), 1);
    session_ = std::make_unique<platform_linux::SessionBus>(test_support::kPatience);
    EXPECT_EQ(session_->connection() != nullptr, hasBus);
    count_ = std::make_unique<platform_linux::RunningApplications>(*session_);
  }
  platform::NSRunningApplication& applications() override { return *count_; }
  std::string identifier() const override { return application_tests::kProbeIdentifier; }
  void startAnother() override {
    others_.push_back(std::make_unique<ProcessUnderTest>(std::vector<std::string>{PROBE_APPLICATION},
                                                         environment_, (folder_.path() / "stderr").string()));
    EXPECT_TRUE(journal_.waitFor("count ").starts_with("count "));
  }
  void endFirst() override {
    others_.front()->signal(SIGKILL);
    EXPECT_EQ(others_.front()->wait(), 128 + SIGKILL);
    others_.pop_front();
  }

 private:
  const test_support::TemporaryFolder folder_;
  application_tests::ProbeJournal journal_{folder_.path() / "journal"};
  application_tests::Environment environment_ = application_tests::probeEnvironment(folder_.path());
  std::unique_ptr<test_support::PrivateBus> bus_;
  std::unique_ptr<platform_linux::SessionBus> session_;
  std::unique_ptr<platform_linux::RunningApplications> count_;
  std::deque<std::unique_ptr<ProcessUnderTest>> others_;
};

class FakeProcesses : public NSRunningApplicationFactory {
 public:
  platform::NSRunningApplication& applications() override { return application_; }
  std::string identifier() const override { return "com.verrano.quillo.CameraShot"; }
  void startAnother() override { ++application_.instances; }
  void endFirst() override { --application_.instances; }

 private:
  fakes::Journal journal_;
  fakes::FakeMainLoop loop_;
  fakes::FakeApplication application_{journal_, loop_};
};

std::unique_ptr<NSRunningApplicationFactory> makeOnBus() {
  return std::make_unique<RealProcesses>(true);
}

std::unique_ptr<NSRunningApplicationFactory> makeWithoutBus() {
  return std::make_unique<RealProcesses>(false);
}

std::unique_ptr<NSRunningApplicationFactory> makeFake() {
  return std::make_unique<FakeProcesses>();
}

INSTANTIATE_TEST_SUITE_P(LinuxBus, NSRunningApplicationContract, testing::Values(&makeOnBus));
INSTANTIATE_TEST_SUITE_P(LinuxLockFile, NSRunningApplicationContract, testing::Values(&makeWithoutBus));
INSTANTIATE_TEST_SUITE_P(Fake, NSRunningApplicationContract, testing::Values(&makeFake));

}  // namespace

}  // namespace contract
