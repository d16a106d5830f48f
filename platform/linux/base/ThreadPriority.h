#pragma once

#include <sys/resource.h>

namespace platform_linux {

/// Lowers the priority of the calling thread, and of the threads that it starts, to a third of the
/// processor's time where another thread wants all of it, too. An unprivileged thread cannot go back.
inline void lowerThreadPriority() {
  constexpr int kLowPriority = 5;
  // Of this thread, on Linux: POSIX means the whole process.
  if (::getpriority(PRIO_PROCESS, 0) < kLowPriority) ::setpriority(PRIO_PROCESS, 0, kLowPriority);
}

}  // namespace platform_linux
