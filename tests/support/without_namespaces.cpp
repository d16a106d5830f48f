// Runs a command where no namespace can be made or entered and nothing mounted, as in a container with the
// usual settings: tests that run in it run there, too.
//   without_namespaces COMMAND [ARGUMENT…]
#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <linux/filter.h>
#include <linux/sched.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

constexpr std::uint32_t kRefused = SECCOMP_RET_ERRNO | EPERM;
constexpr std::uint32_t kUnknown = SECCOMP_RET_ERRNO | ENOSYS;
constexpr std::uint32_t kNamespaces =
    CLONE_NEWNS | CLONE_NEWUSER | CLONE_NEWPID | CLONE_NEWNET | CLONE_NEWIPC | CLONE_NEWUTS | CLONE_NEWCGROUP;

constexpr sock_filter load(std::size_t offset) {
  return BPF_STMT(BPF_LD | BPF_W | BPF_ABS, static_cast<std::uint32_t>(offset));
}
constexpr sock_filter answer(std::uint32_t action) {
  return BPF_STMT(BPF_RET | BPF_K, action);
}

constexpr sock_filter jump(std::uint16_t test, std::uint32_t value, std::uint8_t otherwise) {
  return BPF_JUMP(static_cast<std::uint16_t>(BPF_JMP | BPF_K | test), value, 0, otherwise);
}

/// Skips the next instruction unless the loaded number is that call's.
constexpr sock_filter unlessCall(std::uint32_t number) {
  return jump(BPF_JEQ, number, 1);
}

// The flags of clone() are its first argument, of which the lower half has them all; those of clone3() are in
// memory, which a filter cannot read: the C library falls back to clone().
std::array filter{
    load(offsetof(seccomp_data, nr)),
    unlessCall(SYS_unshare),
    answer(kRefused),
    unlessCall(SYS_setns),
    answer(kRefused),
    unlessCall(SYS_mount),
    answer(kRefused),
    unlessCall(SYS_clone3),
    answer(kUnknown),
    jump(BPF_JEQ, SYS_clone, 3),
    load(offsetof(seccomp_data, args)),
    jump(BPF_JSET, kNamespaces, 1),
    answer(kRefused),
    answer(SECCOMP_RET_ALLOW),
};

}  // namespace

int main(int count, char** arguments) {
  if (count < 2) {
    std::fprintf(stderr, "usage: %s COMMAND [ARGUMENT…]\n", arguments[0]);
    return 2;
  }
  const sock_fprog program{filter.size(), filter.data()};
  if (::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0 ||
      ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) != 0) {
    std::perror("without_namespaces");
    return 126;
  }
  ::execvp(arguments[1], arguments + 1);
  std::perror(arguments[1]);
  return 127;
}
