#include "platform/linux/base/WriteSignals.h"

#include <csignal>
#include <initializer_list>

namespace platform_linux {

void surviveFailedWrites() {
  for (const int number : {SIGXFSZ, SIGPIPE}) {
    struct sigaction action {};
    ::sigaction(number, nullptr, &action);
    if (action.sa_handler != SIG_DFL) continue;
    // Not SIG_IGN, which programs that are started would inherit: a handler is their default again
    // (execve(2)).
    action.sa_handler = [](int) noexcept {};
    action.sa_flags = SA_RESTART;
    ::sigaction(number, &action, nullptr);
  }
}

}  // namespace platform_linux
