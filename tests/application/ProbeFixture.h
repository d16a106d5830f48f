#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "platform/linux/base/FileDescriptor.h"
#include "platform/linux/base/Handles.h"
#include "tests/application/ProbeJournal.h"
#include "tests/application/ProcessUnderTest.h"
#include "tests/support/BusClient.h"
#include "tests/support/PrivateBus.h"
#include "tests/support/TemporaryFolder.h"

namespace application_tests {

inline constexpr const char* kProbeIdentifier = "com.example.Probe";

/// What a probe needs to know of a test that keeps everything in `folder`: its journal, its lifeline (a pipe;
/// a probe without one lives on) and the user's folders.
Environment probeEnvironment(const std::filesystem::path& folder);

/// Probe applications on a private bus, and a desktop that calls them.
class ProbeTest : public testing::Test {
 public:
  ProbeTest();
  ~ProbeTest() override;

 protected:
  /// Starts the probe by hand; `then` is what it does once it has launched.
  std::unique_ptr<ProcessUnderTest> start(const std::string& then = {},
                                          const std::vector<std::string>& arguments = {});
  /// The bus, started when first asked for; probes started before have none. `activatable`: it knows how to
  /// start the probe.
  test_support::PrivateBus& bus(bool activatable = true);
  const test_support::BusClient& client();

  /// Calls the application as a desktop does and answers the error's text, empty when all went well.
  std::string activate(const std::string& token = {});
  std::string open(const std::string& uri);
  std::string activateAction(const std::string& name, const std::string& target);
  std::string call(const char* method, GVariant* arguments);
  /// The next lines of the journal, as many as there are in `expected`, are these.
  void expectLines(const std::vector<std::string>& expected);

  test_support::TemporaryFolder folder_;
  ProbeJournal journal_;
  Environment environment_;

 private:
  platform_linux::FileDescriptor lifeline_;

  std::unique_ptr<test_support::PrivateBus> bus_;
  std::unique_ptr<test_support::BusClient> client_;
};

}  // namespace application_tests
