#pragma once

#include <cstdlib>
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

namespace camera_shot_bench {

/// For libraries that are preloaded into a program: maps what they count into the file that the environment
/// names by `variable`, in the machine's byte order, so that others can read it meanwhile. Nothing without
/// such a file. Programs that this one starts are not meant, and get neither the file nor the library.
template <typename Counters>
Counters* mapSharedCounters(const char* variable) {
  const char* const path = std::getenv(variable);
  const int file = path ? open(path, O_RDWR | O_CLOEXEC) : -1;
  if (file < 0) return nullptr;
  void* const mapped = mmap(nullptr, sizeof(Counters), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
  close(file);
  unsetenv(variable);
  unsetenv("LD_PRELOAD");
  return mapped == MAP_FAILED ? nullptr : static_cast<Counters*>(mapped);
}

}  // namespace camera_shot_bench
