#include "platform/linux/storage/SharedFile.h"

#include <algorithm>
#include <cerrno>
#include <sys/file.h>
#include <sys/stat.h>
#include <thread>

namespace platform_linux {

namespace {

using std::chrono::milliseconds;

/// Between two tries: short at first, because our own processes hold a lock for microseconds to milliseconds.
constexpr milliseconds kFirstPause{1};
constexpr milliseconds kLongestPause{16};

}  // namespace

bool makePrivateFolders(const std::filesystem::path& folder) {
  std::error_code error;
  if (folder.empty() || std::filesystem::is_directory(folder, error)) return true;
  return makePrivateFolders(folder.parent_path()) && (::mkdir(folder.c_str(), 0700) == 0 || errno == EEXIST);
}

int lockWithin(int file, milliseconds patience) {
  milliseconds waited{0};
  milliseconds pause = kFirstPause;
  // The kernel's own wait has no bound.
  while (::flock(file, LOCK_EX | LOCK_NB) != 0) {
    const int error = errno;
    if (error != EWOULDBLOCK || waited >= patience) return error;
    std::this_thread::sleep_for(pause);
    waited += pause;
    pause = std::min(2 * pause, kLongestPause);
  }
  return 0;
}

}  // namespace platform_linux
