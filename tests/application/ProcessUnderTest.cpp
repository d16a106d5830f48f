#include "tests/application/ProcessUnderTest.h"

#include <algorithm>
#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include "platform/linux/base/FileDescriptor.h"

namespace application_tests {

namespace {

std::vector<char*> pointersTo(std::vector<std::string>& texts) {
  std::vector<char*> pointers(texts.size() + 1, nullptr);
  std::transform(texts.begin(), texts.end(), pointers.begin(), [](std::string& text) { return text.data(); });
  return pointers;
}

}  // namespace

ProcessUnderTest::ProcessUnderTest(const std::vector<std::string>& command, const Environment& environment,
                                   const std::string& errorFile) {
  std::vector<std::string> arguments = command;
  std::vector<std::string> variables;
  variables.reserve(environment.size());
  for (const auto& [name, value] : environment)
    variables.emplace_back(name).append("=").append(value);
  posix_spawn_file_actions_t actions{};
  ::posix_spawn_file_actions_init(&actions);
  if (!errorFile.empty())
    ::posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, errorFile.c_str(),
                                       O_WRONLY | O_CREAT | O_APPEND, 0600);
  const auto argv = pointersTo(arguments);
  const auto envp = pointersTo(variables);
  if (::posix_spawn(&id_, argv[0], &actions, nullptr, argv.data(), envp.data()) != 0) id_ = -1;
  ::posix_spawn_file_actions_destroy(&actions);
}

ProcessUnderTest::~ProcessUnderTest() {
  if (id_ < 0) return;
  ::kill(id_, SIGKILL);
  ::waitpid(id_, nullptr, 0);
}

void ProcessUnderTest::signal(int number) const {
  ::kill(id_, number);
}

int ProcessUnderTest::wait() {
  const platform_linux::FileDescriptor process(static_cast<int>(::syscall(SYS_pidfd_open, id_, 0)));
  pollfd ended{process.get(), POLLIN, 0};
  if (id_ < 0 || ::poll(&ended, 1, kPatience) != 1) return -1;
  int status = 0;
  ::waitpid(id_, &status, 0);
  id_ = -1;
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

}  // namespace application_tests
