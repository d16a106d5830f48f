#pragma once

#include <filesystem>
#include <string>

#include "tests/picture/TestPictures.h"

namespace camera_shot_test {

/// A file that exists as long as this object.
class TemporaryFile {
 public:
  TemporaryFile(const std::string& suffix, const Bytes& contents);
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;
  ~TemporaryFile();

  [[nodiscard]] const std::filesystem::path& path() const { return path_; }

 private:
  std::filesystem::path path_;
};

struct CommandResult {
  /// As the shell tells it: 127 when the command is not installed.
  int status = -1;
  std::string output;
};

/// Runs a shell command and waits for it; `output` is its standard output.
CommandResult run(const std::string& command);

}  // namespace camera_shot_test
