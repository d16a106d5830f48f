#pragma once

#include <cstdint>
#include <string>
#include <variant>
#include <vector>

#include "platform/Foundation/NSError.h"
#include "platform/Foundation/NSLog.h"

namespace suite {

/// The suite's diagnostic log. Thread-safe.
class VQLog {
 public:
  /// What a format can show: "%d" takes an integer, "%@" a text or an error.
  using Argument = std::variant<std::int32_t, std::string, platform::NSError>;

  explicit VQLog(platform::NSLog& log) : log_(log) {}

  /// Writes one line: `format` with its "%d" and "%@" replaced by the arguments, in order. A "%@" or "%d"
  /// without an argument stays as it stands, and so does every other character.
  void VQLogVariadic(const std::string& format, const std::vector<Argument>& arguments);

 private:
  platform::NSLog& log_;
};

}  // namespace suite
