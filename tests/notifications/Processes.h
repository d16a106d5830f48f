#pragma once

#include <sys/types.h>

namespace camera_shot_tests {

/// Waits for the end of a process that need not be ours; whether it came in time.
bool waitForEnd(pid_t process);

/// Waits until a process has no children; whether that came in time.
bool waitUntilChildless(pid_t process);

}  // namespace camera_shot_tests
