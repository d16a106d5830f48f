#pragma once

#include <string>

#include <gtk/gtk.h>

namespace platform_linux {

/// Whether a graphics processor can be drawn with: its device `renderD…` is in `folder`.
[[nodiscard]] bool hasGraphicsProcessor(const std::string& folder = "/dev/dri");

/// Has windows of `display` drawn by the processor when there is no graphics processor: OpenGL would be
/// imitated then, at four times the time a picture of the preview. The user's GSK_RENDERER comes first.
void chooseRenderer(GdkDisplay* display);

}  // namespace platform_linux
