#pragma once

#include <map>
#include <string>
#include <sys/types.h>
#include <vector>

namespace application_tests {

/// How long a process is waited for, in milliseconds.
inline constexpr int kPatience = 20000;

using Environment = std::map<std::string, std::string>;

/// A program that a test runs. Ended with it at the latest.
class ProcessUnderTest {
 public:
  /// Starts `command` with just that environment; its standard error stream goes to `errorFile` unless that
  /// is empty.
  ProcessUnderTest(const std::vector<std::string>& command, const Environment& environment,
                   const std::string& errorFile = {});
  ProcessUnderTest(const ProcessUnderTest&) = delete;
  ProcessUnderTest& operator=(const ProcessUnderTest&) = delete;
  ~ProcessUnderTest();

  pid_t id() const { return id_; }
  void signal(int number) const;
  /// Its exit status; 128 + n when signal n ended it, -1 when it has not ended within ten seconds.
  int wait();

 private:
  pid_t id_ = -1;
};

}  // namespace application_tests
