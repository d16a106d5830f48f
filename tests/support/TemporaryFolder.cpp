#include "tests/support/TemporaryFolder.h"

#include <cerrno>
#include <cstdlib>
#include <system_error>

namespace test_support {

TemporaryFolder::TemporaryFolder() {
  std::string pattern = (std::filesystem::temp_directory_path() / "camera-shot-test-XXXXXX").string();
  if (!::mkdtemp(pattern.data())) throw std::system_error(errno, std::generic_category(), pattern);
  path_ = pattern;
}

TemporaryFolder::~TemporaryFolder() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

std::vector<std::string> TemporaryFolder::names() const {
  std::vector<std::string> found;
  for (const auto& entry : std::filesystem::directory_iterator(path_))
    found.push_back(entry.path().filename());
  return found;
}

}  // namespace test_support
