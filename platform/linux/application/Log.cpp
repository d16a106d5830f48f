#include "platform/linux/application/Log.h"

#include <array>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <tuple>
#include <unistd.h>

#include <glib.h>

namespace platform_linux {

namespace {

/// Whether nobody can ever read what is written to standard error: closed, or /dev/null (character device
/// 1:3).
bool standardErrorLeadsNowhere() {
  struct stat status {};
  return ::fstat(STDERR_FILENO, &status) != 0 || (S_ISCHR(status.st_mode) && status.st_rdev == makedev(1, 3));
}

bool writeToJournal(const std::string& line) {
  const std::array fields{
      GLogField{"MESSAGE", line.data(), static_cast<gssize>(line.size())},
      GLogField{"PRIORITY", "5", -1},  // syslog's "notice"
      GLogField{"SYSLOG_IDENTIFIER", "quillo-camera-shot", -1},
  };
  return g_log_writer_journald(G_LOG_LEVEL_MESSAGE, fields.data(), fields.size(), nullptr) ==
         G_LOG_WRITER_HANDLED;
}

}  // namespace

void Log::log(const std::string& line) {
  const bool toJournal = g_log_writer_is_journald(STDERR_FILENO) != FALSE || standardErrorLeadsNowhere();
  if (toJournal && writeToJournal(line)) return;
  // One write, so that the lines of several threads do not mix.
  const std::string whole = line + '\n';
  std::ignore = ::write(STDERR_FILENO, whole.data(), whole.size());
}

}  // namespace platform_linux
