#pragma once

#include <chrono>
#include <functional>

namespace test_support {

/// How long tests wait for what must come.
inline constexpr std::chrono::seconds kPatience(20);

/// Turns the main loop until `done` says so; whether it did within `limit`.
bool waitUntil(const std::function<bool()>& done, std::chrono::seconds limit = kPatience);

}  // namespace test_support
