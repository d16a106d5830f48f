#pragma once

#include <string>
#include <utility>
#include <vector>

#include "platform/linux/bus/SessionBus.h"

namespace platform_linux {

/// Names and values, of the environment.
using Variables = std::vector<std::pair<std::string, std::string>>;

/// How programs reach the session's display, as variables of the environment and their values, for a program
/// that the bus has started: empty where it knows a display by itself, or nobody tells of one, and for one
/// that was started by hand, from a console or another machine. A bus that was started before the display
/// starts programs that know of none; the user manager (systemd) is often told of it all the same. Waits for
/// its answer, a second at most. Main thread only.
[[nodiscard]] Variables displayOfSession(const SessionBus& bus);

}  // namespace platform_linux
