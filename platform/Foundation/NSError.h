#pragma once

#include <cstdint>
#include <string>

namespace platform {

/// What went wrong in a platform service.
struct NSError {
  /// On Linux the `errno` of the cause, e.g. ENODEV for a camera that went away.
  std::int64_t code = 0;
  /// For the log; not translated.
  std::string localizedDescription;
};

}  // namespace platform
