#pragma once

#include "platform/Foundation/NSDate.h"

namespace platform_linux {

/// The system's clock and the user's time zone. Thread-safe.
class Date : public platform::NSDate {
 public:
  [[nodiscard]] TimePoint date() const override;
  [[nodiscard]] std::string localText(TimePoint moment, const std::string& format) const override;
};

}  // namespace platform_linux
