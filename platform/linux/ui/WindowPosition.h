#pragma once

#include <optional>

#include <gtk/gtk.h>

#include "platform/linux/ui/WindowFrames.h"

namespace platform_linux {

/// Where the window is on the screen, in device pixels; nothing where the display server keeps that to
/// itself, as Wayland does. The window must be on the screen.
std::optional<WindowFrame::Position> positionOf(GtkWindow* window);

/// Moves the window, unless the display server does not let programs do so or the place is on no monitor (any
/// more). The window must be realised.
void moveTo(GtkWindow* window, WindowFrame::Position position);

}  // namespace platform_linux
