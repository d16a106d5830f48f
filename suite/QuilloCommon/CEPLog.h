#pragma once

#include <optional>
#include <string>

#include "suite/QuilloCommon/Dictionary.h"
#include "suite/QuilloCommon/EventFile.h"

namespace suite {

/// The log of usage events. Main thread only.
class CEPLog {
 public:
  explicit CEPLog(EventFile file) : file_(std::move(file)) {}

  /// `prefs`: the settings in force; `details`: what is particular to this occurrence.
  void log(const std::string& event, const std::optional<Dictionary>& prefs,
           const std::optional<Dictionary>& details);

 private:
  EventFile file_;
};

}  // namespace suite
