#pragma once

#include <future>
#include <string>

namespace platform_linux {

/// The token by which the desktop knows this start of the program, where it started a command and called
/// nothing on the bus; empty without one.
[[nodiscard]] std::string startupTokenOfEnvironment();

/// Tells the desktop to wait no longer for the window of the start that `token` stands for: without a window
/// it would show a busy pointer for 15 seconds. Returns at once; the answer is ready when the desktop has
/// been told, or cannot be. A thread of its own, and a module of its own that is loaded there: most runs
/// without a window need neither.
[[nodiscard]] std::future<void> endStartupSequence(const std::string& token);

/// What the module exports under this name.
inline constexpr const char* kEndStartupName = "quilloCameraShotEndStartup";
using EndStartup = void (*)(const char* token);

}  // namespace platform_linux
