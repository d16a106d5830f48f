#pragma once

#include <string_view>

namespace platform_linux {

/// The `errno` that a message of the capture daemon tells in words at its end, as in "Start error: Device or
/// resource busy" and "error set output format: -16 (Device or resource busy)": the daemon passes a device's
/// failures on as text only. EIO when it is none that is known.
[[nodiscard]] int errorNumberOfMessage(std::string_view message);

}  // namespace platform_linux
