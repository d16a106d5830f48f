#pragma once

#include <string>

namespace platform {

/// Bytes of which only the platform needs to know the form: they may be produced while they are written, so
/// that a photo is decoded, coded and written at the same time. Immutable; thread-safe.
class NSData {
 public:
  virtual ~NSData() = default;

  /// Writes the bytes to `path` and answers whether all of them are there. `atomically`: no reader, and
  /// nobody after a power cut, ever sees part of them; whatever had that name is replaced at once or stays
  /// untouched. Blocks until done; call it off the main thread.
  [[nodiscard]] virtual bool writeToFile(const std::string& path, bool atomically) const = 0;
};

}  // namespace platform
