#pragma once

#include <map>
#include <string>
#include <sys/types.h>
#include <vector>

#include "tests/support/TemporaryFolder.h"

namespace test_support {

/// A session bus with nothing on it, ended with the test. Throws std::runtime_error when it does not start.
class PrivateBus {
 public:
  using Environment = std::map<std::string, std::string>;

  /// The bus becomes this process's own (DBUS_SESSION_BUS_ADDRESS).
  PrivateBus();
  /// For other processes; those that the bus starts have just that environment.
  explicit PrivateBus(const Environment& environment);
  PrivateBus(const PrivateBus&) = delete;
  PrivateBus& operator=(const PrivateBus&) = delete;
  ~PrivateBus();

  /// Lets the bus run `command`, a program and its arguments, when somebody calls `name`.
  void addService(const std::string& name, const std::vector<std::string>& command) const;
  const std::string& address() const { return address_; }
  /// What is sent to the bus waits until it goes on, and is then read in the order of the sending.
  void pause() const;
  void resume() const;
  /// Ends the bus at once, as a crash does.
  void kill();

 private:
  void start(char** environment);

  const TemporaryFolder folder_;
  const std::string address_;
  pid_t process_ = 0;
};

}  // namespace test_support
