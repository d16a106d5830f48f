// Preloaded into a program: one of its calls to the system fails. The file FAILING_CALL_PLAN says which, by
// its name and its number, from 0, among those of that name, and with which errno; who reads it takes it
// away, so that only the first program with this plan is hit. The file FAILING_CALL_REPORT then tells the
// process's id and, once it has failed, the call's name.
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

// Reading and writing are not among them: the program does it with what cannot fail, its event descriptors.
namespace {

std::atomic<int> callsLeft{-1};
char failingCall[32];
int failure = 0;
FILE* report = nullptr;

[[gnu::constructor]] void readPlan() {
  const char* const path = std::getenv("FAILING_CALL_PLAN");
  FILE* const plan = path ? std::fopen(path, "r") : nullptr;
  if (!plan) return;
  int which = -1;
  const bool isRead = std::fscanf(plan, "%31s %d %d", failingCall, &which, &failure) == 3;
  std::fclose(plan);
  if (std::remove(path) != 0 || !isRead) std::abort();
  report = std::fopen(std::getenv("FAILING_CALL_REPORT"), "w");
  if (!report) std::abort();
  std::fprintf(report, "%d\n", getpid());
  std::fflush(report);
  callsLeft = which;
}

bool fails(const char* call) {
  // Below 0 there is no plan, or it has been carried out.
  if (callsLeft < 0 || std::strcmp(call, failingCall) != 0 || callsLeft-- != 0) return false;
  std::fprintf(report, "%s\n", call);
  std::fflush(report);
  errno = failure;
  return true;
}

/// The C library's own function of that name.
template <typename Function>
Function* original(const char* name) {
  return reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, name));
}

}  // namespace

extern "C" {

int socket(int domain, int type, int protocol) noexcept {
  static auto* const real = original<int(int, int, int)>("socket");
  return fails("socket") ? -1 : real(domain, type, protocol);
}

int connect(int socket, const struct sockaddr* address, socklen_t size) {
  static auto* const real = original<int(int, const struct sockaddr*, socklen_t)>("connect");
  return fails("connect") ? -1 : real(socket, address, size);
}

ssize_t sendmsg(int socket, const struct msghdr* message, int flags) {
  static auto* const real = original<ssize_t(int, const struct msghdr*, int)>("sendmsg");
  return fails("sendmsg") ? -1 : real(socket, message, flags);
}

ssize_t recvmsg(int socket, struct msghdr* message, int flags) {
  static auto* const real = original<ssize_t(int, struct msghdr*, int)>("recvmsg");
  return fails("recvmsg") ? -1 : real(socket, message, flags);
}

int poll(struct pollfd* files, nfds_t count, int timeout) {
  static auto* const real = original<int(struct pollfd*, nfds_t, int)>("poll");
  return fails("poll") ? -1 : real(files, count, timeout);
}

int eventfd(unsigned initial, int flags) noexcept {
  static auto* const real = original<int(unsigned, int)>("eventfd");
  return fails("eventfd") ? -1 : real(initial, flags);
}

}  // extern "C"
