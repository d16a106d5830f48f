#pragma once

#include <optional>
#include <string>

#include <gtk/gtk.h>

#include "platform/linux/ui/WindowFrames.h"

// What only the display server knows of a window, or does with it. Main thread only.
namespace platform_linux {

/// Whether the window of `surface` is minimised.
[[nodiscard]] bool isMinimized(GdkSurface* surface);

/// Whether somebody can see what is drawn there, as far as the display server tells.
[[nodiscard]] bool isSeen(GdkSurface* surface);

/// Where the window is on the screen, in device pixels; nothing where the display server keeps that to
/// itself, as Wayland does. The window must be on the screen.
[[nodiscard]] std::optional<WindowFrame::Position> positionOf(GtkWindow* window);

/// Moves the window, unless the display server does not let programs do so or the place is on no monitor (any
/// more). The window must be realised.
void moveTo(GtkWindow* window, WindowFrame::Position position);

/// Has the next presentation of the window use the activation token `token`, with which it may come to the
/// front. Main thread.
void useActivationToken(GtkWindow* window, const std::string& token);

/// Presents the window as what the user asked for just now. On X11 desktops compare times: without a token
/// the window's own, of when it was last used, would keep it behind. The window must be realised. Main
/// thread.
void presentAsAskedForNow(GtkWindow* window);

}  // namespace platform_linux
