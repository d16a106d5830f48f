#pragma once

#include <chrono>
#include <string>

namespace platform {

/// The wall clock. Thread-safe.
class NSDate {
 public:
  using TimePoint = std::chrono::system_clock::time_point;

  virtual ~NSDate() = default;

  /// The current moment.
  [[nodiscard]] virtual TimePoint date() const = 0;

  /// `moment` in the user's own time zone, laid out by `format` in the notation of `strftime`.
  [[nodiscard]] virtual std::string localText(TimePoint moment, const std::string& format) const = 0;
};

}  // namespace platform
