#include "platform/linux/storage/PrivateFolders.h"

#include <cerrno>
#include <sys/stat.h>

namespace platform_linux {

bool makePrivateFolders(const std::filesystem::path& folder) {
  std::error_code error;
  if (folder.empty() || std::filesystem::is_directory(folder, error)) return true;
  return makePrivateFolders(folder.parent_path()) && (::mkdir(folder.c_str(), 0700) == 0 || errno == EEXIST);
}

}  // namespace platform_linux
