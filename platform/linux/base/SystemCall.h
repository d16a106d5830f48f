#pragma once

#include <cerrno>

namespace platform_linux {

/// Makes a system call again for as long as a signal interrupts it; answers what the call answers, -1 with
/// errno on failure.
template <typename Call>
auto uninterrupted(Call call) noexcept(noexcept(call())) {
  auto result = call();
  while (result < 0 && errno == EINTR)
    result = call();
  return result;
}

}  // namespace platform_linux
