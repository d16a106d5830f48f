#pragma once

#include <functional>
#include <memory>

namespace platform_linux {

/// Asks the application to put its end off: while what it returns is kept, an application that is about to
/// end goes on turning its main loop, for as long as its own bound allows. Main thread only. An empty
/// function holds nothing.
using TerminationHold = std::function<std::shared_ptr<void>()>;

}  // namespace platform_linux
