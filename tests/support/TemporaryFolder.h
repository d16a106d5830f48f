#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "platform/linux/base/FileDescriptor.h"

namespace test_support {

/// A folder of a test's own, removed with everything in it; by the next test when this one is killed. Throws
/// std::system_error when it cannot be made.
class TemporaryFolder {
 public:
  TemporaryFolder();
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;
  ~TemporaryFolder();

  const std::filesystem::path& path() const { return path_; }
  std::string operator/(const std::string& name) const { return (path_ / name).string(); }
  /// The names of what is in it, in no order.
  std::vector<std::string> names() const;

 private:
  platform_linux::FileDescriptor lock_;
  /// Around `path_`, so that tests may lock that.
  std::filesystem::path outer_;
  std::filesystem::path path_;
};

}  // namespace test_support
