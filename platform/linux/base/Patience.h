#pragma once

#include <algorithm>
#include <chrono>
#include <utility>

namespace platform_linux {

/// Patience is spent look by look: time in which the machine stands still, frozen or held up by its host,
/// uses up one of them, as those who are waited for stood still, too.
inline constexpr std::chrono::milliseconds kLook{50};

/// Waits on a condition variable until `isOver`, as long as `patience` lasts, and answers whether it came to
/// that. Each sign that it is under way, `isProgressing` set while the lock is held, is worth the whole
/// patience anew.
template <typename Condition, typename Lock, typename Predicate>
bool waitPatiently(Condition& condition, Lock& lock, std::chrono::milliseconds patience, Predicate isOver,
                   bool& isProgressing) {
  for (auto left = patience; left.count() > 0; left -= kLook) {
    if (condition.wait_for(lock, std::min(left, kLook), isOver)) return true;
    if (std::exchange(isProgressing, false)) left = patience + kLook;
  }
  return isOver();
}

/// The same of what gives no sign.
template <typename Condition, typename Lock, typename Predicate>
bool waitPatiently(Condition& condition, Lock& lock, std::chrono::milliseconds patience, Predicate isOver) {
  bool isProgressing = false;
  return waitPatiently(condition, lock, patience, std::move(isOver), isProgressing);
}

}  // namespace platform_linux
