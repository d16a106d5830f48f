#include "tests/support/TemporaryFolder.h"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <string_view>
#include <sys/file.h>
#include <sys/stat.h>
#include <system_error>

namespace test_support {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view kPrefix = "camera-test-";

/// The lock of a folder, by which its test tells that it lives; none when another one has it, or when the
/// folder has gone.
platform_linux::FileDescriptor lockFolder(const fs::path& folder) {
  platform_linux::FileDescriptor file(
      ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
  if (file && ::flock(file.get(), LOCK_EX | LOCK_NB) != 0) return {};
  return file;
}

/// A killed test cannot remove its folder. Its lock has gone with it.
void removeAbandoned(const fs::path& parent) {
  std::error_code ignored;
  for (const auto& entry : fs::directory_iterator(parent, ignored)) {
    if (!entry.path().filename().string().starts_with(kPrefix)) continue;
    if (const auto lock = lockFolder(entry.path())) fs::remove_all(entry.path(), ignored);
  }
}

}  // namespace

TemporaryFolder::TemporaryFolder() {
  const fs::path parent = fs::temp_directory_path();
  removeAbandoned(parent);
  // Another test may take a folder without a lock for an abandoned one.
  while (!lock_ || !fs::exists(outer_)) {
    std::string pattern = parent / (std::string(kPrefix) + "XXXXXX");
    if (!::mkdtemp(pattern.data())) throw std::system_error(errno, std::generic_category(), pattern);
    outer_ = pattern;
    lock_ = lockFolder(outer_);
  }
  // Whom a test lets into its own folder must get that far.
  fs::permissions(outer_, fs::perms(0711));
  path_ = outer_ / "d";
  if (::mkdir(path_.c_str(), 0700) != 0) throw std::system_error(errno, std::generic_category(), path_);
}

TemporaryFolder::~TemporaryFolder() {
  std::error_code ignored;
  fs::remove_all(outer_, ignored);
}

std::vector<std::string> TemporaryFolder::names() const {
  std::vector<std::string> found;
  for (const auto& entry : fs::directory_iterator(path_))
    found.push_back(entry.path().filename());
  return found;
}

}  // namespace test_support
