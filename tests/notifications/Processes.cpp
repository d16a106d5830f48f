#include "tests/notifications/Processes.h"

#include <chrono>
#include <fstream>
#include <poll.h>
#include <string>
#include <sys/syscall.h>
#include <unistd.h>

#include "tests/support/MainLoop.h"

namespace camera_shot_tests {

bool waitForEnd(pid_t process) {
  const auto descriptor = static_cast<int>(syscall(SYS_pidfd_open, process, 0));
  if (descriptor < 0) return true;
  pollfd ended{descriptor, POLLIN, 0};
  const bool over = poll(&ended, 1, std::chrono::milliseconds(test_support::kPatience).count()) == 1;
  close(descriptor);
  return over;
}

bool waitUntilChildless(pid_t process) {
  const std::string name = std::to_string(process);
  std::ifstream children("/proc/" + name + "/task/" + name + "/children");
  // Its main thread, which starts them all, is the one whose children these are.
  for (pid_t child = 0; children >> child;)
    if (!waitForEnd(child)) return false;
  return true;
}

}  // namespace camera_shot_tests
