#include "tests/picture/Command.h"

#include <array>
#include <cstdio>
#include <fstream>
#include <sys/wait.h>
#include <unistd.h>

namespace camera_shot_test {

TemporaryFile::TemporaryFile(const std::string& suffix, const Bytes& contents) {
  std::string name = (std::filesystem::temp_directory_path() / "image-test-XXXXXX").string() + suffix;
  const int file = ::mkstemps(name.data(), static_cast<int>(suffix.size()));
  if (file >= 0) ::close(file);
  path_ = name;
  std::ofstream(path_, std::ios::binary)
      .write(reinterpret_cast<const char*>(contents.data()), static_cast<std::streamsize>(contents.size()));
}

TemporaryFile::~TemporaryFile() {
  std::error_code ignored;
  std::filesystem::remove(path_, ignored);
}

CommandResult run(const std::string& command) {
  CommandResult result;
  std::FILE* pipe = ::popen(command.c_str(), "r");
  if (pipe == nullptr) return result;
  std::array<char, 65536> buffer{};
  while (const std::size_t count = std::fread(buffer.data(), 1, buffer.size(), pipe)) {
    result.output.append(buffer.data(), count);
  }
  const int status = ::pclose(pipe);
  result.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  return result;
}

}  // namespace camera_shot_test
