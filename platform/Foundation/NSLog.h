#pragma once

#include <string>

namespace platform {

/// The system's log. Thread-safe.
class NSLog {
 public:
  virtual ~NSLog() = default;

  /// Writes one diagnostic line, as it stands.
  virtual void log(const std::string& line) = 0;
};

}  // namespace platform
