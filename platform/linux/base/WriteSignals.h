#pragma once

namespace platform_linux {

/// Writing beyond the limit on the size of files (SIGXFSZ), or into a pipe that nobody reads any more
/// (SIGPIPE), fails with its `errno` from here on instead of ending the program, and is then told like any
/// other failure. Programs that this one starts are not concerned, and what whoever started it has switched
/// off stays so. To be called first of all.
void surviveFailedWrites();

}  // namespace platform_linux
