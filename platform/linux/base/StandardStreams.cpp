#include "platform/linux/base/StandardStreams.h"

#include <cerrno>
#include <fcntl.h>
#include <initializer_list>
#include <unistd.h>

namespace platform_linux {

void openMissingStandardStreams() {
  for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    // The lowest free number is what open takes: this one, as those below it are open. Without O_CLOEXEC, as
    // streams are.
    if (::fcntl(stream, F_GETFD) < 0 && errno == EBADF && ::open("/dev/null", O_RDWR | O_NOCTTY) != stream)
      return;
  }
}

}  // namespace platform_linux
