#pragma once

#include <memory>
#include <string>

#include "platform/linux/ui/UserInterface.h"

namespace platform_linux {

/// The user interface lives in a module of its own: linking the toolkit to the program would cost a run
/// without windows 8 ms and 7 MB (measured on Debian 12: 1.9 ms and 3.9 MB without, 10.8 ms and 10.8 MB with
/// it).
///
/// The module's place in an installation and in a build tree, relative to the running program.
[[nodiscard]] std::string userInterfaceModulePath();

/// Loads the module at `path` and connects to the display. Nothing, with the reason in `whyNot`, when there
/// is no such module or no display. Main thread only; once a process.
[[nodiscard]] std::unique_ptr<UserInterface> loadUserInterface(const std::string& path,
                                                               UserInterfaceHost host, std::string& whyNot);

/// What the module exports under this name: makes the user interface, or answers null with the reason.
inline constexpr const char* kUserInterfaceFactoryName = "quilloCameraShotMakeUserInterface";
using UserInterfaceFactory = UserInterface* (*)(UserInterfaceHost* host, std::string* whyNot);

}  // namespace platform_linux
