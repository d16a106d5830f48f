#pragma once

#include <filesystem>
#include <memory>
#include <string>

#include "tests/application/ProcessUnderTest.h"

namespace application_tests {

/// A session bus of the test's own, which can start the probe application.
class PrivateBus {
 public:
  /// `environment` is that of the programs which the bus starts; `program` the one that it starts for
  /// `activatedName`, empty for none.
  PrivateBus(const std::filesystem::path& folder, const Environment& environment,
             const std::string& activatedName, const std::string& program);

  const std::string& address() const { return address_; }
  /// Ends the bus, as a crash would.
  void kill();
  /// Stops or goes on with the bus's process: a bus that answers nothing.
  void signal(int number) const { daemon_->signal(number); }

 private:
  std::string address_;
  std::unique_ptr<ProcessUnderTest> daemon_;
};

}  // namespace application_tests
