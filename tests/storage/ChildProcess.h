#pragma once

#include <cstdlib>
#include <sys/wait.h>
#include <unistd.h>

namespace storage_tests {

/// Runs `work` in a process of its own, which ends with its answer as the exit status, and answers the
/// status; -1 when a signal ended it.
template <typename Work>
int inChild(Work work) {
  const pid_t child = ::fork();
  if (child == 0) std::_Exit(work());
  int status = 0;
  ::waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

/// Gives up root's rights, before which no folder is closed. Answers whether there are none left.
inline bool becomeNobody() {
  constexpr uid_t kNobody = 65534;
  return ::geteuid() != 0 || (::setgid(kNobody) == 0 && ::setuid(kNobody) == 0);
}

}  // namespace storage_tests
