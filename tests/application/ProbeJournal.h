#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "platform/linux/base/FileDescriptor.h"

namespace application_tests {

/// What probe applications tell, in the order in which they tell it: one line a message, through a socket, so
/// that the test waits for events and never for time.
class ProbeJournal {
 public:
  explicit ProbeJournal(const std::filesystem::path& socketPath);

  /// The next line, without the teller's process id; "(nothing came)" after ten seconds without any.
  std::string next();
  /// Reads on to the first line that contains `part` and answers it; everything before is kept in `lines`.
  std::string waitFor(const std::string& part);

  /// Every line read so far.
  const std::vector<std::string>& lines() const { return lines_; }
  /// The process that told the last line.
  int teller() const { return teller_; }

 private:
  platform_linux::FileDescriptor socket_;
  std::vector<std::string> lines_;
  int teller_ = 0;
};

/// The other end.
void tellProbeJournal(const std::string& socketPath, const std::string& line);

}  // namespace application_tests
