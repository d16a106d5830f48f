#pragma once

#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <string>
#include <sys/file.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "platform/linux/base/FileDescriptor.h"

namespace storage_tests {

/// Another program that holds the lock of a file or folder, which must be there, for as long as this lives.
class LockHolder {
 public:
  explicit LockHolder(const std::string& path) {
    int ends[2] = {-1, -1};
    EXPECT_EQ(::pipe(ends), 0);
    const platform_linux::FileDescriptor told(ends[0]);
    platform_linux::FileDescriptor tell(ends[1]);
    process_ = ::fork();
    if (process_ == 0) hold(path, tell.get());
    tell = platform_linux::FileDescriptor();
    char byte = 0;
    EXPECT_EQ(::read(told.get(), &byte, 1), 1) << "no lock on " << path;
  }
  LockHolder(const LockHolder&) = delete;
  LockHolder& operator=(const LockHolder&) = delete;
  ~LockHolder() {
    ::kill(process_, SIGKILL);
    ::waitpid(process_, nullptr, 0);
  }

 private:
  [[noreturn]] static void hold(const std::string& path, int tell) {
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (::flock(file, LOCK_EX) != 0 || ::write(tell, "h", 1) != 1) std::_Exit(1);
    while (true)
      ::pause();
  }

  pid_t process_ = -1;
};

}  // namespace storage_tests
