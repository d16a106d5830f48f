#pragma once

#include "platform/Foundation/NSLog.h"

namespace platform_linux {

/// The system's log. Thread-safe.
///
/// Lines go to the standard error stream, where a terminal or whoever started the program reads them. Where
/// that stream is the journal's, or leads nowhere (closed, /dev/null), they go to the journal as records of
/// this program.
class Log : public platform::NSLog {
 public:
  void log(const std::string& line) override;
};

}  // namespace platform_linux
