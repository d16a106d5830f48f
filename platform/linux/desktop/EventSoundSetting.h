#pragma once

namespace platform_linux {

/// Whether the user wants event sounds at all: the desktop's setting `event-sounds` of
/// `org.gnome.desktop.sound`; true where there is no such setting. Thread-safe; may wait for the disk.
bool eventSoundsWanted();

}  // namespace platform_linux
