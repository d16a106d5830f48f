// Preloaded into a program (LD_PRELOAD), measures how long the turns of its main loop take: from one return
// of poll to the next call of it, on the main thread. The file that TURN_CLOCK_FILE names is mapped and kept
// up to date; whoever reads it may set it back to zeros at any time.

#include <atomic>
#include <cstdint>
#include <ctime>
#include <dlfcn.h>
#include <poll.h>
#include <unistd.h>

#include "bench/preview/SharedCounters.h"

namespace {

constexpr std::uint64_t kStallMicroseconds = 20'000;

/// As in the file, in the machine's byte order.
struct Turns {
  std::atomic<std::uint64_t> count;
  std::atomic<std::uint64_t> stalls;       ///< longer than kStallMicroseconds
  std::atomic<std::uint64_t> longest;      ///< microseconds by the clock
  std::atomic<std::uint64_t> longestWork;  ///< microseconds of processor time
};

Turns* turns = nullptr;
std::uint64_t turnBegan = 0;
std::uint64_t workBegan = 0;

std::uint64_t microseconds(clockid_t clock) {
  timespec now{};
  clock_gettime(clock, &now);
  return static_cast<std::uint64_t>(now.tv_sec) * 1'000'000 + static_cast<std::uint64_t>(now.tv_nsec) / 1'000;
}

__attribute__((constructor)) void mapFile() {
  turns = camera_shot_bench::mapSharedCounters<Turns>("TURN_CLOCK_FILE");
}

bool isMeasured() {
  return turns && gettid() == getpid();
}

void raise(std::atomic<std::uint64_t>& most, std::uint64_t value) {
  if (value > most) most = value;
}

void turnEnded() {
  if (!isMeasured() || turnBegan == 0) return;
  const std::uint64_t taken = microseconds(CLOCK_MONOTONIC) - turnBegan;
  const std::uint64_t worked = microseconds(CLOCK_THREAD_CPUTIME_ID) - workBegan;
  ++turns->count;
  if (taken > kStallMicroseconds) ++turns->stalls;
  raise(turns->longest, taken);
  raise(turns->longestWork, worked);
}

void turnBegins() {
  if (!isMeasured()) return;
  turnBegan = microseconds(CLOCK_MONOTONIC);
  workBegan = microseconds(CLOCK_THREAD_CPUTIME_ID);
}

template <typename Function>
Function next(const char* name) {
  return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

}  // namespace

extern "C" int poll(pollfd* files, nfds_t count, int timeout) {
  static const auto kPoll = next<decltype(&poll)>("poll");
  turnEnded();
  const int ready = kPoll(files, count, timeout);
  turnBegins();
  return ready;
}

extern "C" int ppoll(pollfd* files, nfds_t count, const timespec* timeout, const sigset_t* signals) {
  static const auto kPoll = next<decltype(&ppoll)>("ppoll");
  turnEnded();
  const int ready = kPoll(files, count, timeout, signals);
  turnBegins();
  return ready;
}
