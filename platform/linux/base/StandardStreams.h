#pragma once

namespace platform_linux {

/// Opens /dev/null for each of the three standard streams that the program was started without, as by `<&-
/// 2>&-`. The next file or socket would take its number otherwise, and what a library prints would go there:
/// into a photo, say. To be called before anything else is opened; where /dev/null cannot be had, nothing
/// changes.
void openMissingStandardStreams();

}  // namespace platform_linux
