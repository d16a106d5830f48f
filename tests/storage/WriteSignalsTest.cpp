#include <csignal>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "platform/linux/base/WriteSignals.h"

namespace storage_tests {
namespace {

class WriteSignals : public testing::TestWithParam<int> {
 protected:
  /// How a shell ends that a program with the signals' new meaning has started, and that sends itself one.
  int statusOfStartedProgram() const {
    const std::string command = "kill -" + std::to_string(GetParam()) + " $$";
    const pid_t child = ::fork();
    if (child == 0) {
      platform_linux::surviveFailedWrites();
      ::raise(GetParam());
      ::execl("/bin/sh", "sh", "-c", command.c_str(), nullptr);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    return status;
  }
};

TEST_P(WriteSignals, EndStartedProgramsButNotThisOne) {
  const int status = statusOfStartedProgram();
  ASSERT_TRUE(WIFSIGNALED(status)) << status;
  EXPECT_EQ(WTERMSIG(status), GetParam());
}

TEST_P(WriteSignals, StaySwitchedOffForAllWhereTheyWere) {
  const auto before = ::signal(GetParam(), SIG_IGN);
  const int status = statusOfStartedProgram();
  ::signal(GetParam(), before);
  EXPECT_TRUE(WIFEXITED(status)) << status;
}

INSTANTIATE_TEST_SUITE_P(Each, WriteSignals, testing::Values(SIGXFSZ, SIGPIPE),
                         [](const auto& about) { return std::string(sigabbrev_np(about.param)); });

}  // namespace
}  // namespace storage_tests
