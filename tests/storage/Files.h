#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <sys/stat.h>
#include <utility>

#include "tests/support/TemporaryFolder.h"

namespace storage_tests {

using test_support::TemporaryFolder;

inline std::string contentOf(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

inline void makeFile(const std::string& path, const std::string& content) {
  std::ofstream(path, std::ios::binary) << content;
}

inline mode_t permissionsOf(const std::string& path) {
  struct stat status {};
  return ::stat(path.c_str(), &status) == 0 ? status.st_mode & 0777 : 0;
}

/// Takes from everybody, its owner included, the permission to write in a folder, and gives it back at its
/// end. Root must give up its rights to notice.
class ClosedFolder {
 public:
  explicit ClosedFolder(std::filesystem::path path) : path_(std::move(path)) { allow(0555); }
  ~ClosedFolder() { allow(0755); }
  ClosedFolder(const ClosedFolder&) = delete;
  ClosedFolder& operator=(const ClosedFolder&) = delete;

 private:
  void allow(unsigned mode) const { std::filesystem::permissions(path_, std::filesystem::perms(mode)); }

  const std::filesystem::path path_;
};

}  // namespace storage_tests
